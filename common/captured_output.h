#ifndef ORV_COMMON_CAPTURED_OUTPUT_H
#define ORV_COMMON_CAPTURED_OUTPUT_H

#include <string>

#include "common/command.h"
#include "common/handles.h"

namespace orv {

/// The output of one command, captured in a temporary file of its own.
///
///     captured_output output("/tmp/mdstat.XXXXXX");
///     if (!output.fill(command("cat /proc/mdstat > %s", output.path()))) return ORV_E_COMMAND;
///     const unique_file file = output.open();
///
/// The file is made when the object is made and removed when it goes out of scope.
class captured_output {
 public:
  /// @param path_template  path that ends in "XXXXXX"
  explicit captured_output(std::string path_template);
  ~captured_output();
  captured_output(const captured_output&) = delete;
  captured_output& operator=(const captured_output&) = delete;

  const std::string& path() const { return path_; }

  /// Runs a command that writes to `path`. A failure is logged; without a temporary file nothing is
  /// run and that is the failure.
  bool fill(const command& line, const char* log_form = command_failed) const;

  /// Runs a command that writes to `path` and whose exit status is no failure; without a temporary
  /// file nothing is run. @return its wait status
  int try_fill(const command& line) const { return error_ == 0 ? status_of(line) : 0; }

  /// False when the file is not there or cannot be examined, and `errno` says why.
  bool exists() const;

  /// Opens the captured text; empty when it cannot be opened or read, and `errno` says why. It is
  /// read whole here: a reader of its lines never takes a read error for the end of the text.
  unique_file open() const;

  /// Opens the captured text, which may be as large as a list or hold passwords, to be read line by
  /// line (line_reader): it is nowhere else. Empty when it cannot be opened, and `errno` says why.
  unique_file stream() const;

  /// Leaves the file in place, where that is what the appliance does.
  void leave() { leave_ = true; }

 private:
  std::string path_;
  int error_ = 0;
  bool leave_ = false;
};

/// Reports, in the log and on standard output, that an output cannot be opened for the reason in
/// `errno`.
/// @param logged  the code that the log line shows
/// @return that code
int tell_cannot_open(const captured_output& output, int logged,
                     const char* function = __builtin_FUNCTION(), int line = __builtin_LINE());

}  // namespace orv

#endif
