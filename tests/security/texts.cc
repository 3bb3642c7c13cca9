#include "tests/security/texts.h"

#include <array>
#include <cstdio>
#include <string_view>

namespace security {
namespace {

constexpr int last_byte = 255;

texts pairs_of(const std::string& bytes) {
  texts all;
  for (const char first : bytes) {
    for (const char second : bytes) all.push_back({first, second});
  }
  return all;
}

std::string every_byte() {
  std::string bytes;
  for (int byte = 1; byte <= last_byte; ++byte) bytes += static_cast<char>(byte);
  return bytes;
}

}  // namespace

texts one_byte_texts() {
  texts all = {""};
  for (const char byte : every_byte()) all.emplace_back(1, byte);
  return all;
}

texts two_byte_texts() { return pairs_of(every_byte()); }

texts telling_pairs() {
  return pairs_of(
      "!\"#$&'()*-./;<=>?[\\]`{|~ \t\n\r\x7f\xff"
      "a");
}

texts attack_texts() {
  texts all = {
      // another command
      "x; /marker",
      "x;/marker",
      "x && /marker",
      "x || /marker",
      "x | /marker",
      "x & /marker",
      "x\n/marker",
      "x\r/marker",
      "x\r\n/marker\r\n",
      ";/marker;#",
      "|/marker",
      "&/marker",
      "\n/marker\n",
      "x'; /marker; '",
      "'; /marker; #",
      "\"; /marker; \"",
      "\"; /marker; #",
      "'\"'\"'; /marker #",
      "'\\''; /marker; '\\''",
      "\\'; /marker; \\'",
      "\\\"; /marker",
      "x' '/marker",
      "''",
      "'",
      "\"",
      "'''",
      "\"\"\"",
      "'\"",
      "\\",
      "\\\\",
      "x\\",
      "x\\\n/marker",
      "x #",
      "# x",
      "x\t/marker",
      "(/marker)",
      "{ /marker; }",
      "! /marker",
      "x;;",
      "esac",
      "done",
      "x) /marker",
      "x\x01/marker",
      "x\x1a/marker",
      "x\x7f;/marker",
      // substitution and expansion
      "$(/marker)",
      "`/marker`",
      "x$(/marker)",
      "x`/marker`",
      "$((1+1))",
      "${IFS}",
      "$IFS",
      "$PATH",
      "${PATH:+/marker}",
      "$@",
      "$*",
      "$#",
      "$$",
      "$!",
      "$?",
      "$-",
      "$0",
      "$'\\n/marker'",
      "x${IFS}/marker",
      "<(/marker)",
      ">(/marker)",
      "$[1+1]",
      "~",
      "~root",
      "x~",
      "!x",
      "!!",
      "!$",
      "{a,b}",
      "{1..9}",
      "x{,/marker}",
      "\\$(/marker)",
      "\\`/marker\\`",
      "\\\\$(/marker)",
      "\"$(/marker)\"",
      "'$(/marker)'",
      "\"`/marker`\"",
      "$\"x\"",
      // globs
      "*",
      "?",
      "/*",
      "/etc/*",
      "[a-z]*",
      "x*",
      "[!a]",
      "**",
      "+(a)",
      "@(a|b)",
      // redirection
      "> /etc/passwd",
      "x>/etc/passwd",
      "x>>/etc/passwd",
      "x</etc/shadow",
      "x 2>&1",
      "&>/etc/passwd",
      "x<<EOF\n/marker\nEOF",
      ">|/etc/passwd",
      "x<<<y",
      "1>/etc/passwd",
      // options
      "-",
      "--",
      "-f",
      "-rf",
      "--help",
      "-x y",
      "--config=/etc/passwd",
      "-o",
      "-- x",
      "x -f",
      " -f",
      "\t-f",
      ",-f",
      "-,x",
      "-\n",
      "+x",
      "@/etc/passwd",
      "%x",
      // paths
      ".",
      "..",
      "../..",
      "../../etc/passwd",
      "/../",
      "/..",
      "x/../../etc/passwd",
      "./x",
      "x/.",
      "x/./y",
      "//",
      "/",
      "///etc///passwd",
      "/etc/passwd",
      "/etc/shadow",
      "x/",
      "...",
      "..x",
      "x..",
      "/dev/sda",
      "/proc/self/mem",
      "../../../../marker",
      "/mnt/../etc",
      "/mnt/x/../../etc",
      "/mnt/.",
      "a//b",
      "\\..\\..\\x",
      "..%2f..%2f",
      "%2e%2e/",
      // formats and escapes
      "%n",
      "%s",
      "%n%n%n%n%n%n%n%n",
      "%s%s%s%s%s%s%s%s",
      "%99999999d",
      "%p",
      "%1$n",
      "%*s",
      "%",
      "%%",
      "\\n",
      "\\0",
      "\\c",
      "\\x41",
      "\\1",
      "\\e[2J",
      "x\\c",
      "\\\\n",
      "\\012/marker",
      "\x1b]0;x\x07",
      "\x1b[2J",
      "\x9b"
      "2J",
      // lines, sections and fields of configuration files
      "]",
      "[",
      "[]",
      "[x]",
      "]\n[x]",
      "x]\n[y]\npath = /",
      "x\n[global]",
      "\n[global]\nguest ok = yes",
      "[global]",
      "global",
      "GLOBAL",
      "globals",
      "g loBals ",
      "homes",
      "x]",
      "x] y",
      "]]",
      "x\npath = /",
      "x\r\npath = /",
      "x = y",
      "=",
      "= x",
      "x=",
      "x==y",
      "x\tpath\t=\t/",
      "; x",
      ";",
      "#",
      "# x",
      "x # y",
      "x ; y",
      "x\\\ny",
      "x\\",
      "|",
      "||",
      "x|y",
      "x||y",
      "x||y||z",
      "|x",
      ":",
      "::",
      "x:y",
      "x:0:0:root",
      "x::0:0:::/bin/sh",
      "x\nroot2::0:0:::/bin/sh",
      ",",
      ",,",
      "x,y",
      "x,y,",
      " , ",
      "a b",
      " a",
      "a ",
      "  ",
      "\t",
      "a\tb",
      "\n",
      "\r",
      "\r\n",
      "\n\n",
      "\v",
      "\f",
      "x\fy",
      "x\vy",
      "*(rw)",
      "x(rw) *",
      "x)(",
      "(",
      ")",
      "()",
      "*(rw,no_root_squash)",
      "x (rw)",
      "\\040",
      "\\012",
      "a\\040b",
      "/ *(rw)",
      "x\n/ *(rw)\n",
      "@INCLUDE",
      "include = /etc/shadow",
      "%U",
      "%m",
      "x,Type=nullio",
      "x\n\tIncomingUser x y",
      "x\tIncomingUser",
      "iqn.2006-05.org.orv:x",
      ".x",
      "x.y",
      "x.20200101000000",
      "local_root=/",
      "x\nanonymous_enable=YES",
      // bytes
      "\xff",
      "\xff\xfe",
      "\xc0\xaf",
      "\xc0\x80",
      "\xe2\x80\xa8",
      "\xe2\x80\xae"
      "x",
      "\xc3\x28",
      "\xed\xa0\x80",
      "\xf4\x90\x80\x80",
      "\xef\xbb\xbf",
      "\xc2\xa0",
      "\xc3\xa4",
      "x\xc2\x85y",
      "\x80",
      "\x81\x82\x83\x84\x88",
      "\x01\x02\x03",
      "\x7f",
      "\xa0",
      "\xcd\x8f",
      // numbers
      "0",
      "-1",
      "1",
      "00",
      "1e9",
      "0x10",
      "4294967296",
      "18446744073709551616",
      "-9223372036854775809",
      "1,2,3",
      "9,9,9",
      "1,",
      "1,,2",
      "md0",
      "md",
      "md-1",
      "md99999999999",
      "sda",
      "sd",
      "*sda",
      "sda(F)",
      "None",
      "NaN",
      "N.A.",
      "null",
      "true",
  };
  all.push_back(std::string("x\0/marker", 9));
  all.push_back(std::string("\0; /marker", 10));
  return all;
}

texts texts_at_limit(std::size_t capacity) {
  texts all;
  for (const std::size_t size : {capacity - 2, capacity - 1, capacity, capacity + 1}) {
    if (size == 0 || size > 4 * capacity) continue;
    all.emplace_back(size, 'x');
    all.emplace_back(size, '\'');
    all.push_back(std::string(size - 1, 'x') + ';');
    all.push_back(std::string(size - 1, 'x') + '\n');
    all.push_back("/" + std::string(size - 1, 'x'));
    all.push_back(std::string(size - 1, ' ') + 'x');
  }
  return all;
}

std::string shown(const std::string& text) {
  std::string readable;
  for (const char c : text.substr(0, 80)) {
    const auto byte = static_cast<unsigned char>(c);
    std::array<char, 8> code{};
    std::snprintf(code.data(), code.size(), "\\x%02x", static_cast<unsigned>(byte));
    readable += byte < ' ' || byte > '~' ? std::string(code.data()) : std::string(1, c);
  }
  return '"' + readable + '"' + (text.size() > 80 ? " of " + std::to_string(text.size()) : "");
}

}  // namespace security
