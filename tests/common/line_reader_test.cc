#include "common/line_reader.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <string>

namespace {

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
