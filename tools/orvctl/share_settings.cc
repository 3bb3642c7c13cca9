#include "tools/orvctl/share_settings.h"

#include <vector>

#include "tools/orvctl/arguments.h"
#include "tools/orvctl/commands.h"
#include "tools/orvctl/errors.h"

namespace orvctl {
namespace {

json used_space(const tag_share_config& share) {
  constexpr std::uint64_t bytes_of_unit = 10 * bytes_of_mib;
  return size_value(share.used, bytes_of_unit);
}

constexpr column<tag_share_config> share_columns[] = {
    {"NAME", "name", form::text, [](const tag_share_config& s) { return text_value(s.name); }},
    {"SERVICE", "service", form::text,
     [](const tag_share_config& s) { return text_value(s.service); }},
    {"PATH", "path", form::text, [](const tag_share_config& s) { return text_value(s.path); }},
    {"USERS", "users", form::text,
     [](const tag_share_config& s) { return text_value(s.valid_users); }},
    {"WRITABLE", "writable", form::text, is_writable},
    {"SIZE", "size_bytes", form::gib, [](const tag_share_config& s) { return gib_value(s.size); }},
    {"USED", "used_bytes", form::mib, used_space},
    {"COMMENT", "comment", form::text,
     [](const tag_share_config& s) { return text_value(s.comment); }},
};

constexpr column<tag_share_config> asked_columns[] = {
    {"NAME", nullptr, form::text, [](const tag_share_config& s) { return text_value(s.name); }},
    {"SERVICE", nullptr, form::text,
     [](const tag_share_config& s) { return text_value(s.service); }},
    {"PATH", nullptr, form::text, [](const tag_share_config& s) { return text_value(s.path); }},
    {"COMMENT", nullptr, form::text,
     [](const tag_share_config& s) { return text_value(s.comment); }},
};

}  // namespace

option add_service(CLI::App& verb, std::string& service, const std::string& about) {
  return add_option(verb, "--service", service, about).type_name("SERVICE").check(service_word);
}

void add_settings(CLI::App& verb, share_settings& settings) {
  add_option(verb, "--comment", settings.comment, "comment that clients see").type_name("TEXT");
  add_option(verb, "--users,--clients", settings.users,
             "users of the share, separated by commas; of an NFS share its clients")
      .type_name("LIST");
  option read_only = add_flag(verb, "--read-only", settings.read_only, "clients may only read");
  add_flag(verb, "--read-write", settings.read_write, "clients may read and write")
      .excludes(read_only);
}

std::shared_ptr<share_arguments> add_share_arguments(CLI::App& verb,
                                                     const std::string& about_service,
                                                     bool needs_service) {
  const auto given = std::make_shared<share_arguments>();
  add_word(verb, "NAME", given->name, "name of the share");
  add_service(verb, given->service, about_service).required(needs_service);
  add_settings(verb, given->settings);
  return given;
}

void apply(const share_settings& settings, tag_share_config& request) {
  if (settings.comment) set_field(request.comment, *settings.comment, "the comment");
  if (settings.users) set_field(request.valid_users, *settings.users, "the list of users");
  if (settings.sets_right()) request.writable = settings.read_only ? 0 : 1;
}

void must_set_something(const share_settings& settings) {
  if (!settings.empty()) return;
  throw usage_problem("nothing to change was given",
                      "give --comment, --users, --read-only or --read-write");
}

void must_suit_service(const share_settings& settings, const std::string& service) {
  if (service != "ftp" || (!settings.users && !settings.sets_right())) return;
  throw usage_problem("an FTP share has no users and rights of its own",
                      "configure the FTP users in '/etc/vsftpd'");
}

table share_table(const share_list& shares) { return make_table(share_columns, shares); }

table share_row(const tag_share_config& share) {
  return make_table(asked_columns, std::vector<tag_share_config>{share});
}

json is_writable(const tag_share_config& share) { return share.writable != 0; }

}  // namespace orvctl
