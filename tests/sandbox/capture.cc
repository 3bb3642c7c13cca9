#include "capture.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>

#include "errors.h"

namespace sandbox {
namespace {

stdout_capture* current = nullptr;

void flush() {
  std::cout.flush();
  std::fflush(stdout);
}

// Listeners are told of a failure in the order of the list: one before the printer, one behind it.
class before_printer : public testing::EmptyTestEventListener {
  void OnTestPartResult(const testing::TestPartResult&) override {
    if (current != nullptr) current->pause();
  }
};

class behind_printer : public testing::EmptyTestEventListener {
  void OnTestPartResult(const testing::TestPartResult&) override {
    if (current != nullptr) current->resume();
  }
};

}  // namespace

stdout_capture::stdout_capture() {
  flush();
  real_ = must(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3), "standard output");
  captured_ = must(::memfd_create("stdout", MFD_CLOEXEC), "memfd_create");
  current = this;
  resume();
}

stdout_capture::~stdout_capture() {
  pause();
  current = nullptr;
  ::close(captured_);
  ::close(real_);
}

std::string stdout_capture::text() const {
  flush();
  std::string text;
  char block[4096];
  for (ssize_t got;
       (got = ::pread(captured_, block, sizeof block, static_cast<off_t>(text.size()))) > 0;)
    text.append(block, static_cast<size_t>(got));
  return text;
}

void stdout_capture::pause() const {
  flush();
  ::dup2(real_, STDOUT_FILENO);
}

void stdout_capture::resume() const {
  flush();
  ::dup2(captured_, STDOUT_FILENO);
}

void let_test_results_through() {
  auto& listeners = testing::UnitTest::GetInstance()->listeners();
  auto* printer = listeners.Release(listeners.default_result_printer());
  listeners.Append(new before_printer);
  listeners.Append(printer);
  listeners.Append(new behind_printer);
}

}  // namespace sandbox
