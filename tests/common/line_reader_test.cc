#include "common/line_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;

std::vector<std::string> lines_of(orv::line_reader&& reader) {
  std::vector<std::string> lines;
  while (reader.next()) lines.emplace_back(reader.line());
  EXPECT_FALSE(reader.failed());
  return lines;
}

std::vector<std::string> lines_of_stream(const std::string& text) {
  std::string held = text;
  const std::unique_ptr<FILE, int (*)(FILE*)> stream(fmemopen(held.data(), held.size(), "r"),
                                                     std::fclose);
  return lines_of(orv::line_reader(stream.get()));
}

std::vector<std::string> lines_of_text(const std::string& text) {
  return lines_of(orv::line_reader(std::string_view(text)));
}

/// Every length around the longest one that is seen whole.
constexpr std::size_t lengths[] = {254, 255, 256, 257, 300};

/// A stream that gives one text and then fails.
struct breaking_source {
  std::string text;

  static ssize_t read(void* cookie, char* buffer, std::size_t size) {
    std::string& text = static_cast<breaking_source*>(cookie)->text;
    if (text.empty()) {
      errno = EIO;
      return -1;
    }
    const std::size_t count = text.copy(buffer, size);
    text.erase(0, count);
    return static_cast<ssize_t>(count);
  }
};

TEST(line_reader, sees_255_characters_of_a_line) {
  for (const auto lines : {lines_of_stream, lines_of_text}) {
    for (const std::size_t length : lengths) {
      const std::string line(length, 'x');
      const std::string seen(std::min<std::size_t>(length, 255), 'x');
      EXPECT_THAT(lines(line), ElementsAre(seen)) << length;
      EXPECT_THAT(lines(line + "\n"), ElementsAre(seen)) << length;
      EXPECT_THAT(lines("a\n" + line + "\nb"), ElementsAre("a", seen, "b")) << length;
      EXPECT_THAT(lines(line + "\n\nb\n"), ElementsAre(seen, "", "b")) << length;
    }
  }
}

TEST(line_reader, sees_255_characters_of_a_line_of_two_blocks) {
  const std::string before(4000, 'a');
  for (const std::size_t length : lengths) {
    EXPECT_THAT(lines_of_stream(before + "\n" + std::string(length, 'x') + "\nb\n"),
                ElementsAre(before.substr(0, 255),
                            std::string(std::min<std::size_t>(length, 255), 'x'), "b"))
        << length;
  }
}

TEST(line_reader, tells_why_it_ended_when_the_lines_before_have_been_used) {
  breaking_source source{"one\ntwo\nthr"};
  const std::unique_ptr<FILE, int (*)(FILE*)> stream(
      fopencookie(&source, "r", {breaking_source::read, nullptr, nullptr, nullptr}), std::fclose);
  setvbuf(stream.get(), nullptr, _IONBF, 0);
  orv::line_reader reader(stream.get());
  for (const char* const line : {"one", "two"}) {
    ASSERT_TRUE(reader.next());
    EXPECT_STREQ(reader.line(), line);
    errno = 0;
  }
  EXPECT_FALSE(reader.next());
  errno = 0;
  EXPECT_TRUE(reader.failed());
  EXPECT_EQ(errno, EIO);
}

}  // namespace
