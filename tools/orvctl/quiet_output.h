#ifndef ORVCTL_QUIET_OUTPUT_H
#define ORVCTL_QUIET_OUTPUT_H

namespace orvctl {

/// While it exists, nothing that the library and its tools print on standard output is seen: the
/// changes of users print the passwords of all of them.
class quiet_output {
 public:
  quiet_output();
  ~quiet_output();
  quiet_output(const quiet_output&) = delete;
  quiet_output& operator=(const quiet_output&) = delete;

 private:
  int kept_;
};

}  // namespace orvctl

#endif
