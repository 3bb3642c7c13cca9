#ifndef ORVCTL_LIBRARY_CALLS_H
#define ORVCTL_LIBRARY_CALLS_H

#include <functional>
#include <optional>
#include <string>

namespace orvctl {

/// Where the library reaches the machine other than by files: this program's definitions of the
/// library's and the C library's functions come before theirs, and ask here first.
class library_calls {
 public:
  virtual ~library_calls() = default;
  /// A command line that the library runs. @return its wait status; nothing: it is really run
  virtual std::optional<int> command(const char* line) = 0;
  /// Another change of the machine, in words. @return false: it is really made
  virtual bool call(const std::string& what) = 0;
};

/// From here on these are asked; NULL: nobody is.
void replace_library_calls(library_calls* calls);

/// Called once, right before the next command that changes something; an empty one never.
void before_next_change(std::function<void()> call);

/// The command line that was ended first since the library ran it for longer than the limit allows;
/// empty when none was. A password is not in it.
const std::string& ended_command();

/// As if this one had been; an empty one forgets what was.
void set_ended_command(const std::string& line);

/// The command line that the library runs at this moment, empty when there is none. Fit for a
/// signal handler.
const char* running_command();

}  // namespace orvctl

#endif
