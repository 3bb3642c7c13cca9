/// What the code prints on standard output, kept apart from what the test program reports there.
#pragma once

#include <string>

namespace sandbox {

class stdout_capture {
 public:
  stdout_capture();
  ~stdout_capture();
  stdout_capture(const stdout_capture&) = delete;
  stdout_capture& operator=(const stdout_capture&) = delete;

  std::string text() const;

  /// Descriptor 1 is the real standard output while paused.
  void pause() const;
  void resume() const;

 private:
  int real_;
  int captured_;
};

/// Lets GoogleTest print the failures of a test whose output is captured.
void let_test_results_through();

}  // namespace sandbox
