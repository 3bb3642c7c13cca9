#ifndef ORVCTL_COMMANDS_H
#define ORVCTL_COMMANDS_H

#include <functional>
#include <memory>
#include <string>

#include "tools/orvctl/options.h"
#include "tools/orvctl/session.h"

/// The grammar "orvctl NOUN VERB": one file per noun adds its verbs.

namespace orvctl {

void add_disk_commands(CLI::App& program, session& run);
void add_spare_commands(CLI::App& program, session& run);
void add_raid_commands(CLI::App& program, session& run);
void add_vg_commands(CLI::App& program, session& run);
void add_pool_commands(CLI::App& program, session& run);
void add_fs_commands(CLI::App& program, session& run);
void add_share_commands(CLI::App& program, session& run);
void add_recycle_commands(CLI::App& program, session& run);
void add_service_commands(CLI::App& program, session& run);
void add_client_commands(CLI::App& program, session& run);
void add_ftp_limit_commands(CLI::App& program, session& run);
void add_user_commands(CLI::App& program, session& run);
void add_smart_commands(CLI::App& program, session& run);
void add_alarm_commands(CLI::App& program, session& run);
void add_net_commands(CLI::App& program, session& run);
void add_host_commands(CLI::App& program, session& run);
void add_clock_commands(CLI::App& program, session& run);
void add_power_commands(CLI::App& program, session& run);
void add_system_commands(CLI::App& program, session& run);
void add_conf_commands(CLI::App& program, session& run);
// Commands that need no verb.
void add_status_command(CLI::App& program, session& run);
void add_report_command(CLI::App& program, session& run);
void add_metrics_command(CLI::App& program, session& run);

// Parts of a noun that have files of their own.
void add_raid_create_commands(CLI::App& raid, session& run);
void add_raid_watch_command(CLI::App& raid, session& run);
void add_vg_repair_commands(CLI::App& vg, session& run);
void add_fs_table_commands(CLI::App& fs, session& run);
void add_share_change_commands(CLI::App& share, session& run);
void add_share_use_commands(CLI::App& share, session& run);

/// @param example  a whole command line
CLI::App& add_noun(CLI::App& program, const std::string& name, const std::string& about,
                   const std::string& example);
CLI::App& add_verb(CLI::App& noun, session& run, const std::string& name, const std::string& about,
                   const std::string& example);
/// How long each tool may take, which every command can be told.
void add_timeout(CLI::App& verb, session& run);
/// A verb that changes something, and so takes --dry-run.
CLI::App& add_changing_verb(CLI::App& noun, session& run, const std::string& name,
                            const std::string& about, const std::string& example);
/// A changing verb that asks, since it may destroy data, and so takes --yes.
CLI::App& add_destroying_verb(CLI::App& noun, session& run, const std::string& name,
                              const std::string& about, const std::string& example);

/// A verb that shows a list, with the options for what it looks like. A report has the list too.
void add_list(CLI::App& noun, session& run, const std::string& name, const std::string& about,
              const std::string& example, void (*action)(session&));
/// The options of a list alone.
void add_list_options(CLI::App& verb, session& run);
/// A verb without arguments that shows something else than a list.
void add_query(CLI::App& noun, session& run, const std::string& name, const std::string& about,
               const std::string& example, void (*action)(session&));

/// A required word of a verb.
option add_word(CLI::App& verb, const std::string& name, std::string& word,
                const std::string& about);

/// What a verb does.
void on_run(CLI::App& verb, session& run, const std::function<void(session&)>& action);

/// What a verb does with its arguments, which live as long as the verb.
template <class arguments>
void on_run(CLI::App& verb, session& run, const std::shared_ptr<arguments>& given,
            void (*action)(session&, const arguments&)) {
  on_run(verb, run, [given, action](session& running) { action(running, *given); });
}

}  // namespace orvctl

#endif
