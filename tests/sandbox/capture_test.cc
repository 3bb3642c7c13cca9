/// What the code prints on standard output.
#include <gtest/gtest-spi.h>

#include <cstdio>
#include <iostream>

#include "code.h"
#include "sandbox.h"

namespace {

using Output = sandbox_test;

TEST_F(Output, OfTheCodeAndItsChildrenIsKeptInOrder) {
  std::printf("one ");
  std::cout << "two ";
  std::fflush(stdout);
  std::cout.flush();
  sandbox::run("echo three");
  std::printf("four\n");
  EXPECT_EQ(machine.output(), "one two three\nfour\n");
  EXPECT_EQ(machine.output(), "one two three\nfour\n");
}

TEST_F(Output, BeginsAnewWhenForgotten) {
  std::printf("one");
  machine.forget();
  std::printf("two");
  EXPECT_EQ(machine.output(), "two");
}

TEST_F(Output, MayBeLarge) {
  const std::string line(100'000, 'x');
  for (int i = 0; i < 10; ++i) std::puts(line.c_str());
  EXPECT_EQ(machine.output().size(), 10 * (line.size() + 1));
}

TEST(OutputOfTheNextMachine, IsEmptyAtFirst) {
  {
    const sandbox::machine first;
    std::printf("of the first");
  }
  const sandbox::machine second;
  EXPECT_EQ(second.output(), "");
}

}  // namespace
