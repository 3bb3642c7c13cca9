/// A written value reads back as itself, or as what its file is documented to make of it. Strange
/// texts are written into every text field of every file with the library's own functions, and read
/// with its own getters, or were refused and left the file as it was.
#include <orv.h>
#include <orv/scoped.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <optional>

#include "tests/sandbox/programs/records.h"
#include "tests/security/stand_in.h"
#include "tests/security/texts.h"
#include "tests/share/share_machine.h"
#include "tests/user/user_machine.h"

using security::texts;

namespace {

// --- What files make of a value

/// What a value reads back as; nothing when its record is not there.
using form = std::optional<std::string> (*)(const std::string& value);

constexpr char white[] = " \t\r\n\v\f";

std::string trimmed(std::string text) {
  text.erase(0, std::min(text.find_first_not_of(white), text.size()));
  text.resize(text.find_last_not_of(white) + 1);
  return text;
}

/// Control characters but tab, and the unfit ones, are blanks.
std::string blanked(std::string text, const std::string& unfit) {
  for (char& c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const bool is_control = (byte < ' ' && c != '\t') || byte == 0x7f;
    if (is_control || unfit.find(c) != unfit.npos) c = ' ';
  }
  return text;
}

/// The backslashes at the end are blanks.
std::string without_last_backslashes(std::string text) {
  for (std::size_t at = text.size(); at > 0 && std::strchr(" \t\\", text[at - 1]) != nullptr;
       --at) {
    if (text[at - 1] == '\\') text[at - 1] = ' ';
  }
  return text;
}

std::optional<std::string> as_setting(const std::string& value) {
  return trimmed(blanked(value, "="));
}

std::optional<std::string> as_samba_setting(const std::string& value) {
  return trimmed(without_last_backslashes(blanked(value, "=")));
}

/// Nobody, where no character of the list is left: an empty list would let everybody in.
std::optional<std::string> or_nobody(const std::string& list, const std::string& value) {
  return list.empty() && !trimmed(value).empty() ? "_" : list;
}

std::optional<std::string> as_samba_users(const std::string& value) {
  return or_nobody(*as_samba_setting(value), value);
}

std::optional<std::string> as_name(const std::string& value) {
  return trimmed(without_last_backslashes(blanked(value, "=]")));
}

/// Samba looks for sections without their white space, and knows this one by two names.
bool is_global(std::string name) {
  std::erase_if(name, [](char c) { return std::strchr(white, c) != nullptr; });
  return strcasecmp(name.c_str(), "global") == 0 || strcasecmp(name.c_str(), "globals") == 0;
}

std::optional<std::string> as_samba_name(const std::string& value) {
  const std::string name = *as_name(value);
  if (is_global(name)) return std::nullopt;
  return name.empty() ? " " : name;
}

std::optional<std::string> as_export(const std::string& value) {
  if (!value.starts_with('/')) return std::nullopt;
  return value;
}

std::optional<std::string> as_clients(const std::string& value) {
  std::string list = blanked(value, "\t()\"#\\");
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (list[i] == '-' && (i == 0 || list[i - 1] == ' ')) list[i] = ' ';
  }
  const std::string clients = *or_nobody(trimmed(list), value);
  return clients.empty() ? "*" : clients;
}

/// A name without the time that a target gets, which is cut with its name.
std::string without_stamp(const std::string& name) {
  const std::size_t point = std::min(name.rfind('.'), name.size());
  const std::string stamp = name.substr(std::min(point + 1, name.size()));
  const bool is_number = stamp.find_first_not_of("0123456789") == stamp.npos;
  const bool is_whole = stamp.size() == 14 || name.size() == sizeof(tag_share_config::name) - 1;
  return is_number && is_whole ? name.substr(0, point) : name;
}

std::optional<std::string> as_target(const std::string& value) {
  std::string name = *as_name(value);
  for (char& c : name) c = c == ' ' || c == '\t' ? '_' : c;
  return without_stamp(name);
}

std::optional<std::string> as_volume_path(const std::string& value) {
  const std::string path = blanked(value, "");
  return path.substr(0, path.find(','));
}

std::optional<std::string> as_user_list(const std::string& value) {
  std::string list;
  bool begins = true;
  for (const char c : blanked(value, "\t")) {
    if (c == ' ' || c == ',') {
      begins = true;
    } else {
      if (begins && !list.empty()) list += ',';
      list += c;
      begins = false;
    }
  }
  return list;
}

std::optional<std::string> as_user_name(const std::string& value) {
  const std::string name = blanked(value, "");
  const std::size_t start = std::min(name.find_first_not_of(white), name.size());
  return name.substr(start, name.find('|', start) - start);
}

std::optional<std::string> as_password(const std::string& value) {
  const std::string line = trimmed("eve||" + blanked(value, ""));
  return line.substr(line.rfind('|') + 1);
}

std::optional<std::string> as_host_name(const std::string& value) { return blanked(value, "\t"); }

// --- Fields of shares

using share_writer = int (*)(int file, tag_shareconf_list* list);

/// A field of a share in one of its files, why it does not read back as itself, and the form.
struct share_field {
  const char* path;
  share_writer write;
  share_writer read;
  std::string (*get)(const tag_share_config& share);
  void (*set)(tag_share_config& share, const std::string& value);
  form made_of;
  std::string name;
  const char* reason;
};

#define SHARE_FIELD(path, write, read, field, form, reason)                                       \
  {                                                                                               \
    path, write, read, [](const tag_share_config& share) { return std::string(share.field); },    \
        [](tag_share_config& share, const std::string& value) { set_field(share.field, value); }, \
        form, #field, reason                                                                      \
  }

const share_field share_fields[] = {
    SHARE_FIELD(shares_path, put_share_to_conf, get_share_from_conf, name, as_name,
                "keeps the head of its section whole"),
    SHARE_FIELD(shares_path, put_share_to_conf, get_share_from_conf, path, as_setting,
                "a second = makes a line unreadable"),
    SHARE_FIELD(shares_path, put_share_to_conf, get_share_from_conf, comment, as_setting,
                "a second = makes a line unreadable"),
    SHARE_FIELD(smb_path, put_share_to_smb, get_share_from_smb, name, as_samba_name,
                "keeps the head of its section whole, and is not the global section"),
    SHARE_FIELD(smb_path, put_share_to_smb, get_share_from_smb, path, as_samba_setting,
                "a backslash at the end would take in the next line"),
    SHARE_FIELD(smb_path, put_share_to_smb, get_share_from_smb, comment, as_samba_setting,
                "a backslash at the end would take in the next line"),
    SHARE_FIELD(smb_path, put_share_to_smb, get_share_from_smb, valid_users, as_samba_users,
                "a backslash at the end would take in the next line"),
    SHARE_FIELD(smb_recy_path, put_share_to_smb_recy, get_share_from_smb, name, as_samba_name,
                "as in the file of shares in use"),
    SHARE_FIELD(smb_recy_path, put_share_to_smb_recy, get_share_from_smb, path, as_samba_setting,
                "as in the file of shares in use"),
    SHARE_FIELD(smb_recy_path, put_share_to_smb_recy, get_share_from_smb, comment, as_samba_setting,
                "as in the file of shares in use"),
    SHARE_FIELD(smb_recy_path, put_share_to_smb_recy, get_share_from_smb, valid_users,
                as_samba_users, "as in the file of shares in use"),
    SHARE_FIELD(exports_path, put_share_to_nfs, get_share_from_nfs, path, as_export,
                "an export is an absolute path"),
    SHARE_FIELD(exports_path, put_share_to_nfs, get_share_from_nfs, valid_users, as_clients,
                "parentheses hold options, and no clients are all"),
    SHARE_FIELD(exports_recy_path, put_share_to_nfs_recy, get_share_from_nfs, path, as_export,
                "as in the file of shares in use"),
    SHARE_FIELD(exports_recy_path, put_share_to_nfs_recy, get_share_from_nfs, valid_users,
                as_clients, "as in the file of shares in use"),
    SHARE_FIELD(ietd_path, put_share_to_ietd, get_share_from_ietd, name, as_target,
                "the name of a target is one word"),
    SHARE_FIELD(ietd_path, put_share_to_ietd, get_share_from_ietd, path, as_volume_path,
                "a comma ends an option"),
    SHARE_FIELD(ietd_path, put_share_to_ietd, get_share_from_ietd, valid_users, as_user_list,
                "users have a line each"),
};

/// What the field's file holds in that field, of every share.
texts read_values(const share_field& field) {
  share_list read;
  const open_file file(field.path);
  EXPECT_EQ(field.read(file.number(), read.get()), ORV_OK) << field.path << field.reason;
  texts values;
  for (const tag_share_config* const share : read.records()) {
    const std::string value = field.get(*share);
    values.push_back(field.made_of == as_target ? without_stamp(value) : value);
  }
  return values;
}

/// Also when the list has a share of this name.
void append(share_list& list, const tag_share_config& share) {
  auto* const record = static_cast<tag_share_config*>(std::malloc(sizeof share));
  *record = share;
  list_node& anchor = list.get()->list;
  record->list = {&anchor, anchor.prev};
  anchor.prev->next = &record->list;
  anchor.prev = &record->list;
}

/// With ORV_SECURITY_ALL in the environment every text of two bytes too.
texts all_texts() {
  const bool every = std::getenv("ORV_SECURITY_ALL") != nullptr;
  texts all = security::one_byte_texts();
  for (const texts& more :
       {security::attack_texts(), every ? security::two_byte_texts() : security::telling_pairs()}) {
    all.insert(all.end(), more.begin(), more.end());
  }
  for (std::string& text : all) text.resize(std::min(text.find('\0'), text.size()));
  return all;
}

}  // namespace

class read_back : public sandbox_test {
 protected:
  read_back() : shell_([](const auto&) { return ""; }) {
    for (const char* const path : {shares_path, smb_recy_path, exports_path, exports_recy_path,
                                   ietd_path, "/etc/mdfstab", "/etc/nas_userfile.conf"}) {
      machine.file(path, "", 0600);
    }
    machine.file(smb_path, "[global]\n");
    machine.file("/etc/hostname", "nas");
    machine.file("/etc/sys_info", "[product]\ntype=ZOR7130L\n");
    machine.directory("/tmp");
  }

  /// Compares what was read with what the values read back as.
  void compare(const std::string& field, const texts& values, form made_of, const texts& got) {
    texts wanted;
    texts sources;
    for (const std::string& value : values) {
      const auto expected = made_of(value);
      if (!expected) continue;
      wanted.push_back(*expected);
      sources.push_back(value);
    }
    EXPECT_EQ(got.size(), wanted.size()) << field;
    int faults = 0;
    for (std::size_t i = 0; i < std::min(got.size(), wanted.size()) && faults < 5; ++i) {
      if (got[i] == wanted[i]) continue;
      ++faults;
      ADD_FAILURE() << field << ": " << security::shown(sources[i]) << " is read as "
                    << security::shown(got[i]) << ", not " << security::shown(wanted[i]);
    }
  }

  /// At another place others: some of the texts that fit any line.
  texts some_texts() {
    texts some;
    constexpr std::size_t step = 40;
    const texts all = all_texts();
    for (std::size_t i = ++places_ * 7 % step; i < all.size(); i += step) {
      if (all[i].size() <= 40) some.push_back(all[i]);
    }
    return some;
  }

  /// The only share of some files has what they make of the fields of this one.
  void expect_stored(const tag_share_config& share, const std::vector<std::string>& files) {
    for (const share_field& field : share_fields) {
      if (std::find(files.begin(), files.end(), field.path) == files.end()) continue;
      const texts got = read_values(field);
      if (field.path == std::string(exports_path) && share.path[0] != '/') {
        EXPECT_TRUE(got.empty());
      } else {
        compare(field.path + (' ' + field.name), {field.get(share)}, field.made_of, got);
      }
    }
  }

  std::size_t places_ = 0;
  security::shell_stand_in shell_;
};

TEST_F(read_back, of_every_text_of_a_share) {
  for (const share_field& field : share_fields) {
    share_list written;
    texts values;
    for (const std::string& text : all_texts()) {
      tag_share_config share = a_share("s", "samba");
      field.set(share, text);
      values.push_back(field.get(share));
      append(written, share);
    }
    const open_file file(field.path);
    ASSERT_EQ(field.write(file.number(), written.get()), ORV_OK) << field.path << field.reason;
    compare(field.path + (' ' + field.name) + ", " + field.reason, values, field.made_of,
            read_values(field));
  }
}

/// The operations that change the appliance's list and a service's file together.
TEST_F(read_back, of_a_share_that_is_added_and_changed) {
  const std::map<std::string, const char*> files = {
      {"samba", smb_path}, {"nfs", exports_path}, {"iscsi", ietd_path}};
  for (const auto& [service, path] : files) {
    for (const share_field& changed : share_fields) {
      const bool is_in_both = changed.name != "name" && changed.path == std::string(path);
      if (!is_in_both && (changed.name != "comment" || changed.path != std::string(shares_path))) {
        continue;
      }
      for (const std::string& text : some_texts()) {
        for (const char* const file : {shares_path, exports_path, ietd_path})
          machine.file(file, "");
        machine.file(smb_path, "[global]\n");
        tag_share_config share = a_share("a", service);
        changed.set(share, text);
        EXPECT_EQ(share_add(&share), ORV_OK);
        expect_stored(share, {shares_path, path});
        if (changed.name == "path") continue;  // which stays as it is
        tag_share_config other = a_share("a", service);
        EXPECT_EQ(share_mod(&other), ORV_OK);
        EXPECT_EQ(share_mod(&share), ORV_OK);
        expect_stored(share, {shares_path, path});
      }
    }
  }
}

TEST_F(read_back, of_every_text_of_a_user) {
  const std::pair<char(tag_user_info::*)[24], form> fields[] = {
      {&tag_user_info::name, as_user_name}, {&tag_user_info::password, as_password}};
  for (const auto& [field, made_of] : fields) {
    user_list written;
    texts values;
    for (const std::string& text : all_texts()) {
      tag_user_info& user = written.add("eve", "secret");
      set_field(user.*field, text);
      values.emplace_back(user.*field);
    }
    ASSERT_EQ(set_users_to_conf(written.get()), ORV_OK);
    user_list read;
    ASSERT_EQ(sys_user_get(read.get()), ORV_OK);
    texts got;
    for (const tag_user_info* const user : read.records()) got.emplace_back(user->*field);
    compare("a user", values, made_of, got);
  }
}

TEST_F(read_back, of_a_host_name) {
  texts got;
  for (const std::string& text : all_texts()) {
    EXPECT_EQ(hostname_set(text.c_str()), ORV_OK);
    got.push_back(machine.read("/etc/hostname"));
  }
  compare("a host name", all_texts(), as_host_name, got);
}

/// A table entry reads back as it was asked for; one that cannot be is refused.
TEST_F(read_back, of_an_entry_of_the_mount_table) {
  const char* const usual[] = {"/mnt/a", "vg", "pool"};
  constexpr std::size_t longest = 64;  // the line of a longer one is cut
  for (std::size_t argument = 0; argument < std::size(usual); ++argument) {
    for (const std::string& text : all_texts()) {
      if (text.size() > longest) continue;
      const char* given[] = {usual[0], usual[1], usual[2]};
      given[argument] = text.c_str();
      machine.file("/etc/mdfstab", "# of nobody\n");
      const int result = add_mdfstab(given[0], given[1], given[2]);
      orv::file_system_list read;
      ASSERT_EQ(mdfstab_get(read.get()), ORV_OK);
      const bool is_refused = text.empty() || (argument == 0 && text.front() != '/');
      EXPECT_EQ(result, is_refused ? ORV_E_FAILED : ORV_OK) << security::shown(text);
      EXPECT_EQ(read.begin() != read.end(), !is_refused) << security::shown(text);
      if (is_refused) {
        EXPECT_EQ(machine.read("/etc/mdfstab"), "# of nobody\n");
      }
      for (const tag_fs_info& entry : read) {
        EXPECT_EQ(entry.mountpoint, std::string(given[0]));
        EXPECT_EQ(entry.devname, "/dev/" + std::string(given[1]) + '/' + given[2]);
      }
    }
  }
}
