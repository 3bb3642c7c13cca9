/// Sequences of share operations, and of foreign edits between them, against a model: lists of
/// records in memory that follow what share.h says of each operation. After every operation its
/// result and every file are compared.
///
/// Values are few, and of the plain kind that each file holds as they are: the same shares meet
/// again and again. What files make of odd values is left to the target of the share files.

#include <orv/fs.h>

#include <algorithm>
#include <array>
#include <vector>

#include "fuzz.h"
#include "share_modes.h"

using fuzz::file_number;
using fuzz::files;
using enum fuzz::file_number;

namespace {

using records = std::vector<tag_share_config>;

constexpr char global_settings[] = "[global]\n    workgroup = WG\n";
constexpr char stamp[] = ".20240101000000";

std::string lower(std::string_view text) {
  std::string result(text);
  for (char& c : result) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
  return result;
}

std::string_view text(const char* field) { return field; }

std::string_view key(const tag_share_config& share) {
  const std::string_view name = share.name;
  return lower(share.service) == "iscsi" ? name.substr(0, name.find('.')) : name;
}

template <class Condition>
records::iterator first_with(records& list, Condition condition) {
  return std::find_if(list.begin(), list.end(), condition);
}

records::iterator named_in(records::iterator begin, records::iterator end, std::string_view name) {
  return std::find_if(begin, end,
                      [name](const tag_share_config& share) { return share.name == name; });
}

records::iterator named(records& list, std::string_view name) {
  return named_in(list.begin(), list.end(), name);
}

records::iterator keyed(records& list, std::string_view name) {
  return first_with(list, [name](const tag_share_config& share) { return key(share) == name; });
}

tag_share_config fresh() {
  tag_share_config share{};
  share_conf_init(&share);
  return share;
}

tag_share_config copy_of(const tag_share_config& share) {
  tag_share_config copy = share;
  copy.list = {};
  orv::set_text(copy.status, "N.A.");
  return copy;
}

/// A record as it comes back from a file.
tag_share_config stored(file_number file, const tag_share_config& share) {
  tag_share_config read = fresh();
  orv::set_text(read.path, share.path);
  orv::set_text(read.name, share.name);
  const std::string service = lower(share.service);
  switch (file) {
    case conf:
      orv::set_text(read.comment, share.comment);
      read.size = static_cast<uint64_t>(static_cast<int64_t>(static_cast<int32_t>(share.size)));
      if (service == "samba" || service == "nfs" || service == "ftp" || service == "iscsi") {
        orv::set_text(read.service, service);
      }
      break;
    case smb:
    case smb_recy:
      orv::set_text(read.comment, share.comment);
      orv::set_text(read.valid_users, share.valid_users);
      orv::set_text(read.service, "samba");
      read.writable = share.writable == 1 ? 1 : 0;
      break;
    case nfs:
    case nfs_recy:
      orv::set_text(read.name, orv::after_last(share.path, '/'));
      orv::set_text(read.valid_users, share.valid_users[0] == '\0' ? "*" : share.valid_users);
      orv::set_text(read.service, "nfs");
      break;
    default:
      orv::set_text(read.service, "iscsi");
      orv::set_text(read.valid_users, share.valid_users);
      if (text(share.name).find('.') == std::string_view::npos) {
        orv::set_text(read.name, std::string(share.name) + stamp);
      }
  }
  return read;
}

/// What the files hold.
class model {
 public:
  records& operator[](file_number file) {
    changed_[file] = true;
    return lists_[file];
  }

  bool is_empty(file_number file) const { return lists_[file].empty(); }
  /// True when a list was asked for, to be changed it may be, since the last time.
  bool is_changed(file_number file) { return std::exchange(changed_[file], false); }

  /// Writes a list that was changed.
  void write(file_number file) {
    for (tag_share_config& share : lists_[file]) share = stored(file, share);
  }

  /// The service's own file, or its recycle file; file_count for one without.
  static file_number live(std::string_view service) {
    const std::string word = lower(service);
    if (word == "samba" || word == "cifs") return smb;
    if (word == "nfs") return nfs;
    return word == "iscsi" ? ietd : file_count;
  }
  static file_number parked(std::string_view service) {
    const file_number file = live(service);
    return file == smb ? smb_recy : file == nfs ? nfs_recy : file_count;
  }

 private:
  std::array<records, file_count> lists_;
  std::array<bool, file_count> changed_{};
};

bool is_ftp(std::string_view service) { return lower(service) == "ftp"; }

// --- Operations of the model ---------------------------------------------------------------------

int add(model& m, tag_share_config share) {
  int result = ORV_OK;
  records shares = m[conf];
  if (named(shares, share.name) != shares.end()) {
    result = ORV_E_SHARE_EXISTS;
  } else {
    shares.push_back(copy_of(share));
    m[conf] = shares;
    m.write(conf);
  }
  if (is_ftp(share.service)) return ORV_OK;
  const file_number file = model::live(share.service);
  if (file == file_count) return ORV_E_SERVICE_LOCKED;
  records& listed = m[file];
  for (const tag_share_config& known : shares) {
    const auto is_it = [&](const tag_share_config& other) {
      const std::string_view name = other.name;
      if (lower(known.service) != "iscsi") return name == known.name;
      return name.substr(0, name.find('.')) == known.name;
    };
    const auto match = first_with(listed, is_it);
    if (match != listed.end()) {
      orv::set_text(match->path, known.path);
      orv::set_text(match->valid_users, known.valid_users);
      orv::set_text(match->comment, known.comment);
    } else if (text(known.service) == share.service) {
      listed.push_back(copy_of(known));
    }
  }
  m.write(file);
  return result;
}

/// @return false when the share was missing, and is there now
bool give_settings(records& list, records::iterator found, const tag_share_config& share) {
  if (found == list.end()) {
    list.push_back(copy_of(share));
    list.back().size = list.back().used = 0;
    return false;
  }
  orv::set_text(found->comment, share.comment);
  orv::set_text(found->valid_users, share.valid_users);
  found->writable = share.writable;
  return true;
}

bool modify_in(records& list, const tag_share_config& share) {
  const auto found = keyed(list, share.name);
  const bool was_there = give_settings(list, found, share);
  if (was_there && found->service[0] == '\0') {
    orv::set_text(found->path, share.path);
    orv::set_text(found->service, share.service);
  }
  return was_there;
}

int modify(model& m, const tag_share_config& share) {
  bool was_there = modify_in(m[conf], share);
  m.write(conf);
  if (is_ftp(share.service)) return ORV_E_NO_SHARE;
  const file_number file = model::live(share.service);
  if (file == file_count) return ORV_E_SERVICE_LOCKED;
  was_there = modify_in(m[file], share) && was_there;
  m.write(file);
  return was_there ? ORV_OK : ORV_E_NO_SHARE;
}

bool take_out(records& list, std::string_view name) {
  const auto found = keyed(list, name);
  if (found == list.end()) return false;
  list.erase(found);
  return true;
}

int remove(model& m, std::string_view name, std::string_view service) {
  const file_number file = model::live(service);
  if (file == file_count && !is_ftp(service)) return ORV_E_SERVICE_LOCKED;
  bool was_there = take_out(m[conf], name);
  if (is_ftp(service)) return ORV_OK;
  was_there = take_out(m[file], name) && was_there;
  m.write(file);
  return was_there ? ORV_OK : ORV_E_NO_SHARE;
}

bool modify_parked_in(records& list, const tag_share_config& share) {
  const auto found = named(list, share.name);
  const bool was_there = give_settings(list, found, share);
  if (was_there) orv::set_text(found->service, share.service);
  return was_there;
}

int set_use(model& m, tag_share_config share) {
  const std::string service = share.service;
  orv::set_text(share.service, "");
  bool was_there = modify_parked_in(m[conf], share);
  m.write(conf);
  const file_number file = model::live(service);
  if (file == file_count && !is_ftp(service)) return ORV_E_SERVICE_LOCKED;
  if (file != file_count) {
    was_there = take_out(m[file], share.name) && was_there;
    m.write(file);
  }
  const file_number parked = model::parked(service);
  if (parked == file_count) return ORV_E_SERVICE_LOCKED;
  const bool is_new = named(m[parked], share.name) == m[parked].end();
  if (is_new) m[parked].push_back(copy_of(share));
  m.write(parked);
  if (!is_new) return ORV_E_SHARE_EXISTS;
  return was_there ? ORV_OK : ORV_E_NO_SHARE;
}

/// @param in_use  whether something stays mounted at the share's path
int set_ftp_use(model& m, tag_share_config share, bool in_use) {
  if (in_use) return ORV_E_COMMAND;
  orv::set_text(share.service, "");
  modify_parked_in(m[conf], share);
  m.write(conf);
  return ORV_OK;
}

int modify_parked(model& m, tag_share_config share) {
  const std::string service = share.service;
  orv::set_text(share.service, "");
  bool was_there = modify_parked_in(m[conf], share);
  m.write(conf);
  const file_number parked = model::parked(service);
  if (!is_ftp(service) && parked == file_count) return ORV_E_SERVICE_LOCKED;
  if (!is_ftp(service)) {
    was_there = modify_parked_in(m[parked], share) && was_there;
    m.write(parked);
  }
  return was_there ? ORV_OK : ORV_E_NO_SHARE;
}

int forbid(model& m, std::string_view name) {
  bool everywhere = true;
  for (const file_number file : {conf, smb_recy, nfs_recy}) {
    everywhere = take_out(m[file], name) && everywhere;
  }
  return everywhere ? ORV_OK : ORV_E_NO_SHARE;
}

int remove_parked(model& m, std::string_view name) {
  take_out(m[smb_recy], name);
  return take_out(m[nfs_recy], name) ? ORV_OK : ORV_E_NO_SHARE;
}

// --- What is compared ----------------------------------------------------------------------------

/// The files as they were compared last: what did not change need not be read again.
using texts = std::array<std::string, file_count>;

void compare_file(model& m, file_number file) {
  orv::locked_files locks;
  fuzz::list<tag_shareconf_list> shares;
  EXPECT(files[file].read(locks.lock(files[file].path), shares.get()) == ORV_OK);
  std::string wanted;
  for (const tag_share_config& share : m[file]) wanted += fuzz::describe(share) + '\n';
  EXPECT(shares.check(m[file].size()) == wanted);
}

void compare(model& m, texts& compared) {
  EXPECT(the_machine.text(orv::smb_path)->starts_with(global_settings));
  for (int number = 0; number < file_count; ++number) {
    const auto file = static_cast<file_number>(number);
    const std::string* const now = the_machine.text(files[file].path);
    const bool may_differ = m.is_changed(file);
    EXPECT(now != nullptr || m.is_empty(file));
    if (now == nullptr || (*now == compared[file] && !may_differ)) continue;
    compared[file] = *now;
    compare_file(m, file);
  }
}

/// The whole list as a front end sees it: every share, with what its service's file says of it.
void compare_listing(model& m) {
  the_machine.put(orv::ietd_path, the_machine.text(orv::ietd_path) == nullptr
                                      ? ""
                                      : *the_machine.text(orv::ietd_path));
  fuzz::list<tag_shareconf_list> shares;
  EXPECT(share_get(shares.get()) == ORV_OK);
  shares.check(m[conf].size());
  auto listed = m[conf].begin();
  for (const tag_share_config& share : shares) {
    EXPECT(listed != m[conf].end());
    const auto known =
        named(m[conf], (listed++)->name);  // of sections of one name the first counts
    EXPECT(text(share.name) == known->name && text(share.comment) == known->comment);
    EXPECT(text(share.path) == known->path);
    const bool is_last = named_in(listed, m[conf].end(), share.name) == m[conf].end();
    const bool is_target = is_last && keyed(m[ietd], share.name) != m[ietd].end();
    // A target belongs to the last share of its name.
    EXPECT(is_target ? text(share.service) == "iSCSI" : lower(share.service) == known->service);
    const auto live = named(m[smb], share.name);
    if (text(share.service) == "samba" && live != m[smb].end()) {
      EXPECT(text(share.valid_users) == live->valid_users && share.writable == live->writable);
    }
  }
  EXPECT(listed == m[conf].end());
}

// --- What comes from the input -------------------------------------------------------------------

template <std::size_t Count>
const char* one_of(fuzz::input& in, const char* const (&values)[Count]) {
  return values[in.below(Count)];
}

constexpr const char* names[] = {"data", "public", "a b", "data.1", "x", "home"};
constexpr const char* services[] = {"samba", "nfs", "ftp", "iscsi", "Samba",
                                    "CIFS",  "NFS", "web", ""};

tag_share_config request(fuzz::input& in) {
  tag_share_config share = fresh();
  orv::set_text(share.service, one_of(in, services));
  const bool is_target = lower(share.service) == "iscsi";
  orv::set_text(share.name, is_target ? "data" : one_of(in, names));
  if (is_target) orv::set_text(share.name, std::string(in.below(2) == 0 ? "data" : "x"));
  constexpr const char* paths[] = {"/mnt/data", "/mnt/public", "/mnt/a b", "/mnt/data.1", "/mnt/x"};
  constexpr const char* comments[] = {"", "Our data", "2 [x]"};
  constexpr const char* users[] = {"", "joe", "joe,ann"};
  orv::set_text(share.path, one_of(in, paths));
  orv::set_text(share.comment, one_of(in, comments));
  orv::set_text(share.valid_users, one_of(in, users));
  share.writable = static_cast<int>(in.below(2));
  share.size = in.below(3) * 1000000000UL;
  return share;
}

/// Somebody else edits a file: in his own hand, but in its syntax.
void edit(model& m, fuzz::input& in) {
  const auto file = static_cast<file_number>(in.below(file_count));
  if (the_machine.text(files[file].path) == nullptr) return;
  std::string changed = *the_machine.text(files[file].path);
  tag_share_config added = fresh();
  orv::set_text(added.name, "other");
  orv::set_text(added.path, "/srv/other");
  const unsigned kind = in.below(3);
  if (kind == 0) {
    changed = file == smb ? global_settings : "";
    m[file].clear();
  } else if (kind == 1 && file != conf) {
    changed += "\n\n# a remark\n";
  } else if (file == conf) {
    changed += "\n[ other ]\nsharename=other\n\tpath=/srv/other\nnfs=1\n";
    orv::set_text(added.service, "nfs");
    m[file].push_back(stored(file, added));
  } else if (file == smb || file == smb_recy) {
    changed += "[other]\npath=/srv/other\n\n  writeable=no\nguest ok = yes\n";
    added.writable = 0;
    m[file].push_back(stored(file, added));
  } else if (file == nfs || file == nfs_recy) {
    changed += "/srv/other   *(ro)\n";
    m[file].push_back(stored(file, added));
  } else {
    changed += "Target iqn.2001-04.com.example:other.1\n  Lun 0 Path=/srv/other,Type=fileio\n";
    orv::set_text(added.name, "other.1");
    m[file].push_back(stored(file, added));
  }
  the_machine.put(files[file].path, changed);
}

/// Takes an FTP share out of use: its path is unmounted, and mounted at no start from then on.
int park_ftp(tag_share_config share, bool in_use) {
  const std::string path = share.path;
  the_machine.put("/etc/mdfstab", "");
  EXPECT(add_mdfstab("/mnt/other", "vg", "other") == ORV_OK);
  const std::string others = *the_machine.text("/etc/mdfstab");
  EXPECT(add_mdfstab(path.c_str(), "vg", "pool") == ORV_OK);
  const std::string all = *the_machine.text("/etc/mdfstab");
  the_machine.put("/proc/mounts", in_use ? all : "");
  const int result = ftp_set_use(&share);
  the_machine.remove("/proc/mounts");  // where it is, a listing tells what is not mounted
  EXPECT(text(share.service).empty());
  EXPECT(*the_machine.text("/etc/mdfstab") == (in_use ? all : others));
  return result;
}

int change(model& m, fuzz::input& in, int& wanted) {
  const unsigned operation = in.below(9);
  tag_share_config share = request(in);
  const std::string name = share.name;
  const std::string service = share.service;
  switch (operation) {
    case 0:
      wanted = add(m, share);
      return share_add(&share);
    case 1:
      wanted = modify(m, share);
      return share_mod(&share);
    case 2:
      wanted = remove(m, name, service);
      return share_del(name.c_str(), service.c_str());
    case 3:
      wanted = set_use(m, share);
      return share_set_use(&share);
    case 4:
      wanted = modify_parked(m, share);
      return share_recy_mod(&share);
    case 5:
      wanted = forbid(m, name);
      return forbid_share_del(name.c_str());
    case 6:
      wanted = remove_parked(m, name);
      return share_recy_del(name.c_str());
    case 7: {
      const bool in_use = in.below(2) == 1;
      wanted = set_ftp_use(m, share, in_use);
      return park_ftp(share, in_use);
    }
    default:
      edit(m, in);
      wanted = 0;
      return 0;
  }
}

}  // namespace

FUZZ_TARGET(share_changes, in) {
  constexpr int most_operations = 8;
  the_machine.put(orv::smb_path, global_settings);
  the_machine.put("/etc/nas_userfile.conf", "joe||secret\n");
  model m;
  texts compared;
  for (int count = 0; !in.empty() && count < most_operations; ++count) {
    int wanted = 0;
    EXPECT(change(m, in, wanted) == wanted);
    compare(m, compared);
  }
  compare_listing(m);
}
