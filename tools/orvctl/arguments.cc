#include "tools/orvctl/arguments.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <iterator>
#include <string_view>

namespace orvctl {
namespace {

// A leading zero is refused: it means octal to some readers and never matches a channel.
bool is_whole_number(std::string_view text) {
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() && text.front() != '0';
}

// The library reads no more digits of a channel number.
constexpr std::size_t channel_digits = 7;

bool is_channel(std::string_view text) {
  return text.size() <= channel_digits && is_whole_number(text);
}

bool is_channel_list(std::string_view text) {
  for (;;) {
    const std::size_t comma = text.find(',');
    if (!is_channel(text.substr(0, comma))) return false;
    if (comma == std::string_view::npos) return true;
    text.remove_prefix(comma + 1);
  }
}

constexpr std::string_view services[] = {"samba", "nfs", "ftp", "iscsi"};

bool is_service(std::string_view word) {
  return std::find(std::begin(services), std::end(services), word) != std::end(services);
}

// A larger number would be written as a negative one.
bool is_limit(std::string_view text) {
  std::int32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() && number >= 0 &&
         text.front() != '-';
}

bool is_host_name(std::string_view text) {
  constexpr std::size_t longest = 64;
  constexpr std::string_view letters =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-.";
  return !text.empty() && text.size() <= longest && text.front() != '-' && text.front() != '.' &&
         text.find_first_not_of(letters) == std::string_view::npos;
}

}  // namespace

const word_rule whole_number = {is_whole_number, "a whole number from 1"};
const word_rule channel = {is_channel, "a channel number from 1"};
const word_rule channel_list = {is_channel_list, "a list of channel numbers from 1, such as 1,2,3"};
const word_rule service_word = {is_service, "samba, nfs, ftp or iscsi"};
const word_rule limit = {is_limit, "a whole number from 0 to 2147483647"};
const word_rule host_name = {is_host_name, "a host name of up to 64 letters, digits, '-' and '.'"};

option add_enclosure(CLI::App& verb, std::string& enclosure) {
  return add_option(verb, "--enclosure", enclosure,
                    "enclosure of the channels, 0 to 4 (0: the chassis)")
      .type_name("N")
      .check({[](std::string_view word) {
                return word.size() == 1 && word[0] >= '0' && word[0] <= '4';
              },
              "an enclosure from 0 to 4"});
}

}  // namespace orvctl
