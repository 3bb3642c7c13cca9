#include <grp.h>
#include <pwd.h>

#include <ctime>
#include <functional>
#include <ostream>

#include "tools/orvctl/commands.h"
#include "tools/orvctl/confirm.h"
#include "tools/orvctl/file_changes.h"
#include "tools/orvctl/file_restorer.h"

namespace orvctl {
namespace {

struct conf_arguments {
  std::string path;
};

json time_value(std::time_t when) {
  char text[32] = "";
  std::tm parts{};
  ::localtime_r(&when, &parts);
  std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts);
  return text;
}

json mode_value(const kept_file& file) {
  char text[8] = "";
  std::snprintf(text, sizeof text, "%04o", file.copy.status.st_mode & 07777U);
  return text;
}

json owner_value(const kept_file& file) {
  const passwd* owner = ::getpwuid(file.copy.status.st_uid);
  return owner == nullptr ? std::to_string(file.copy.status.st_uid) : owner->pw_name;
}

json size_of_copy(const kept_file& file) { return file.copy.content.size(); }

constexpr column<kept_file> kept_columns[] = {
    {"FILE", "path", form::text, [](const kept_file& file) { return json(file.path); }},
    {"STATE", "state", form::state, [](const kept_file& file) { return json(file.state()); }},
    {"KEPT", "kept_time", form::text,
     [](const kept_file& file) { return time_value(file.copy.status.st_mtime); }},
    {"BYTES", "size_bytes", form::number, size_of_copy},
    {"OWNER", "owner", form::text, owner_value},
    {"MODE", "mode", form::text, mode_value},
};

void list(session& run) {
  show_list(run, "kept_files", make_table(kept_columns, kept_files()), ORV_OK);
}

// From what is in use to what was kept: what a restoration would do.
std::string diff_of(const kept_file& file) {
  const std::string shown = shown_diff(file.path, file.in_use.content, file.copy.content);
  return "--- " + file.path + "\n+++ /var/lib/orv/kept" + file.path + "\n" + shown;
}

void diff(session& run, const conf_arguments& given) {
  const std::vector<kept_file> files =
      given.path.empty() ? kept_files() : std::vector{kept_file_of(given.path)};
  json differences = json::array();
  std::string text;
  for (const kept_file& file : files) {
    if (file.state() == std::string("same")) continue;
    differences.push_back({{"path", file.path}, {"state", file.state()}, {"diff", diff_of(file)}});
    text += diff_of(file);
  }
  run.document["differences"] = differences;
  if (run.as_json) return;
  run.io.out << text;
  if (text.empty()) run.io.err << "Nothing differs.\n";
}

table question(session& run, const kept_file& file) {
  run.io.err << diff_of(file);
  const std::reference_wrapper<const kept_file> only[] = {file};
  return make_table(kept_columns, only);
}

bool is_as_kept(const kept_file& file) {
  const auto& now = file.in_use.status;
  const auto& kept = file.copy.status;
  return file.state() == std::string("same") && now.st_mode == kept.st_mode &&
         now.st_uid == kept.st_uid && now.st_gid == kept.st_gid;
}

void restore_copy(session& run, const conf_arguments& given) {
  must_be_answerable(run, "this replaces a configuration file");
  const kept_file file = kept_file_of(given.path);
  must_be_restorable(file);
  if (is_as_kept(file)) {
    return report(run, given.path + " is as it was kept.",
                  {{"path", given.path}, {"restored", false}});
  }
  confirm(
      run, "The file in use is replaced by this copy.", [&] { return question(run, file); },
      "this replaces a configuration file");
  restore(file);
  report(run, "Restored " + given.path + ".", {{"path", given.path}, {"restored", true}});
}

}  // namespace

void add_conf_commands(CLI::App& program, session& run) {
  CLI::App& conf = add_noun(program, "conf", "Kept copies of the configuration files",
                            "orvctl conf diff /etc/samba/smb.conf");
  add_list(conf, run, "list", "Show the kept copies, and which files differ from theirs",
           "orvctl conf list", list);

  const auto compared = std::make_shared<conf_arguments>();
  CLI::App& comparing =
      add_verb(conf, run, "diff", "Show what differs between the files in use and their copies",
               "orvctl conf diff /etc/samba/smb.conf");
  add_option(comparing, "FILE", compared->path, "file in use; all of them without it")
      .type_name("");
  on_run(comparing, run, compared, diff);

  const auto restored = std::make_shared<conf_arguments>();
  CLI::App& restoring =
      add_destroying_verb(conf, run, "restore", "Put a kept copy in the place of its file",
                          "orvctl conf restore /etc/samba/smb.conf");
  add_word(restoring, "FILE", restored->path, "file in use, as 'orvctl conf list' shows it");
  on_run(restoring, run, restored, restore_copy);
}

}  // namespace orvctl
