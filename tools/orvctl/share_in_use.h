#ifndef ORVCTL_SHARE_IN_USE_H
#define ORVCTL_SHARE_IN_USE_H

#include <string>

#include "tools/orvctl/share_files.h"

namespace orvctl {

/// A share that is to be changed, and what its service's file says before the change. The command
/// ends when there is no such share, or it is out of use.
class share_in_use {
 public:
  /// @param service  where a share is that "/etc/sharefolder.conf" does not list; may be empty
  explicit share_in_use(const std::string& name, const std::string& service = "");

  /// With users and right.
  const tag_share_config& record() const { return record_; }
  std::string service() const { return record_.service; }

  /// To be called after the change: a result that says that a file did not have the share ends the
  /// command. The rights of the service's other shares stay what they are.
  /// @param changed  the share as it is to be
  void settle(int result, const tag_share_config& changed) const;

 private:
  void take_service_settings();

  tag_share_config record_{};
  share_list before_;
};

}  // namespace orvctl

#endif
