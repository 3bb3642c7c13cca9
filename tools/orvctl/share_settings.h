#ifndef ORVCTL_SHARE_SETTINGS_H
#define ORVCTL_SHARE_SETTINGS_H

#include <memory>
#include <optional>
#include <string>

#include "tools/orvctl/options.h"
#include "tools/orvctl/records.h"
#include "tools/orvctl/table.h"

namespace orvctl {

/// What a command line says of a share's settings.
struct share_settings {
  std::optional<std::string> comment;
  std::optional<std::string> users;
  bool read_only = false;
  bool read_write = false;

  bool sets_right() const { return read_only || read_write; }
  bool empty() const { return !comment && !users && !sets_right(); }
};

/// A command line that names a share and says something of its settings.
struct share_arguments {
  std::string name;
  std::string service;
  share_settings settings;
};

/// What a verb says of `--service` where it takes the share's listed one.
constexpr char other_service[] = "service, where it is another than the listed one";

void add_settings(CLI::App& verb, share_settings& settings);

/// "--service SERVICE", for a verb that can do without it.
option add_service(CLI::App& verb, std::string& service, const std::string& about);

/// NAME, "--service" and the settings.
std::shared_ptr<share_arguments> add_share_arguments(CLI::App& verb,
                                                     const std::string& about_service,
                                                     bool needs_service = false);

/// What is not set stays as it is.
void apply(const share_settings& settings, tag_share_config& request);

/// Ends a command that would change nothing.
void must_set_something(const share_settings& settings);
/// Ends a command that sets what an FTP share does not have: its users have configurations of their
/// own.
void must_suit_service(const share_settings& settings, const std::string& service);

/// Shares as a table.
table share_table(const share_list& shares);
/// One share, which a question is about.
table share_row(const tag_share_config& share);

/// A share's right, as a column shows it.
json is_writable(const tag_share_config& share);

}  // namespace orvctl

#endif
