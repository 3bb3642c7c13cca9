#ifndef ORV_TESTS_SHARE_SHARE_MACHINE_H
#define ORV_TESTS_SHARE_SHARE_MACHINE_H

#include <fcntl.h>
#include <orv/share.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "tests/sandbox/bend.h"
#include "tests/sandbox/sandbox.h"
#include "tests/share/share_files.h"

/// Copies a text into a field of a record, cut and terminated.
template <std::size_t Size>
void set_field(char (&field)[Size], const std::string& text) {
  field[text.copy(field, Size - 1)] = '\0';
}

/// The fields of a share as a caller asks for it; its place in a list stays.
inline void fill_share(tag_share_config& share, const std::string& name,
                       const std::string& service) {
  share_conf_init(&share);
  set_field(share.name, name);
  set_field(share.path, "/mnt/" + name);
  set_field(share.comment, "of " + name);
  set_field(share.service, service);
  set_field(share.valid_users, "ann");
  share.size = 7;
}

/// A share as a caller asks for it.
inline tag_share_config a_share(const std::string& name, const std::string& service = "samba") {
  tag_share_config share;
  fill_share(share, name, service);
  return share;
}

/// "NAME|COMMENT|PATH|SERVICE|USERS|rw", "ro" for a share that is read-only.
inline std::string told(const tag_share_config& share) {
  return std::string(share.name) + '|' + share.comment + '|' + share.path + '|' + share.service +
         '|' + share.valid_users + '|' + (share.writable == 1 ? "rw" : "ro");
}

/// A list of shares that a test owns.
class share_list {
 public:
  share_list() { share_list_init(&list_); }
  ~share_list() { share_list_fini(&list_); }
  share_list(const share_list&) = delete;
  share_list& operator=(const share_list&) = delete;

  tag_shareconf_list* get() { return &list_; }
  share_list& add(tag_share_config share) {
    EXPECT_EQ(add_share_to_sharelist(&share, &list_), ORV_OK);
    return *this;
  }

  std::vector<tag_share_config*> records() {
    std::vector<tag_share_config*> all;
    for (list_node* node = list_.list.next; node != &list_.list; node = node->next) {
      char* const link = reinterpret_cast<char*>(node);
      all.push_back(reinterpret_cast<tag_share_config*>(link - offsetof(tag_share_config, list)));
    }
    return all;
  }
  sandbox::lines told() {
    sandbox::lines all;
    for (const tag_share_config* share : records()) all.push_back(::told(*share));
    return all;
  }
  /// The only record.
  tag_share_config& only() {
    EXPECT_EQ(records().size(), 1U);
    return *records().at(0);
  }

 private:
  tag_shareconf_list list_;
};

/// An open file; closed when it goes out of scope.
class open_file {
 public:
  explicit open_file(const std::string& path, int flags = O_RDWR | O_CREAT)
      : number_(open(path.c_str(), flags | O_CLOEXEC, 0644)) {}
  ~open_file() { close(number_); }
  open_file(const open_file&) = delete;
  open_file& operator=(const open_file&) = delete;
  int number() const { return number_; }

 private:
  int number_;
};

/// Another process, which did something before this object was made and ends with it.
class other_process {
 public:
  explicit other_process(const std::function<void()>& act) {
    int ready[2];
    EXPECT_EQ(pipe(ready), 0);
    id_ = fork();
    if (id_ == 0) {
      act();
      (void)!write(ready[1], "", 1);
      for (;;) pause();
    }
    char done = 0;
    EXPECT_EQ(read(ready[0], &done, 1), 1);
    close(ready[0]);
    close(ready[1]);
  }
  ~other_process() {
    kill(id_, SIGKILL);
    waitpid(id_, nullptr, 0);
  }
  other_process(const other_process&) = delete;
  other_process& operator=(const other_process&) = delete;
  pid_t id() const { return id_; }

 private:
  pid_t id_ = -1;
};

/// Another process that holds a lock on a file.
class foreign_lock : public other_process {
 public:
  explicit foreign_lock(const std::string& path, int type = F_WRLCK)
      : other_process([&] {
          lock_reg(open(path.c_str(), O_RDWR | O_CREAT, 0644), F_SETLK, type, 0, SEEK_SET, 0);
        }) {}
};

/// While it exists, it sees each call for a record lock: a probe, a lock or its release.
class lock_watch {
 public:
  explicit lock_watch(const sandbox::machine& machine) : machine_(machine) { see_next(); }
  ~lock_watch() {
    sandbox::before("fcntl", [] {});
  }
  lock_watch(const lock_watch&) = delete;
  lock_watch& operator=(const lock_watch&) = delete;

  /// The paths of the files that were open at each call.
  const std::vector<sandbox::lines>& seen() const { return seen_; }
  /// The last three of them: those at which a change of three files releases them.
  std::vector<sandbox::lines> last_three() const {
    return {seen_.end() - std::min<std::ptrdiff_t>(3, std::ssize(seen_)), seen_.end()};
  }

 private:
  void see_next() {
    sandbox::before("fcntl", [this] {
      sandbox::lines& paths = seen_.emplace_back(machine_.open_descriptors());
      for (std::string& path : paths) path.erase(0, path.find(' ') + 1);
      see_next();
    });
  }

  const sandbox::machine& machine_;
  std::vector<sandbox::lines> seen_;
};

/// While it exists, no file grows beyond so many bytes, as on a full disk.
class file_size_limit {
 public:
  explicit file_size_limit(rlim_t bytes) {
    getrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{bytes, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~file_size_limit() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, SIG_DFL);
  }
  file_size_limit(const file_size_limit&) = delete;
  file_size_limit& operator=(const file_size_limit&) = delete;

 private:
  rlimit before_{};
};

using share_reader = int (*)(int fd, tag_shareconf_list* list);

class share_test : public sandbox_test {
 protected:
  static constexpr char global[] = "[global]\n    workgroup = HOME\n";

  share_test() { machine.directory("/etc/samba"); }

  /// A section of sharefolder.conf; no service for a share out of use.
  static std::string listed(const std::string& name, const std::string& service = "samba",
                            const std::string& comment = "") {
    std::string text = "[" + name + "]\n    sharename = " + name + "\n    path = /mnt/" + name +
                       "\n    size = 7\n";
    for (const std::string word : {"samba", "nfs", "ftp", "iscsi"}) {
      text += "    " + word + (word == service ? " = 1\n" : " = 0\n");
    }
    return text + "    comment = " + (comment.empty() ? "of " + name : comment) + "\n";
  }
  /// A section of smb.conf, "writeable" instead of "writable" in the recycle file.
  static std::string offered(const std::string& name, const std::string& users = "ann",
                             const std::string& right = "writable = yes") {
    return "[" + name + "]\n    comment = of " + name + "\n    path = /mnt/" + name +
           "\n    public = yes\n    " + right +
           "\n    printable = no\n    create mask = 0777\n    valid users = " + users + "\n";
  }
  static std::string parked(const std::string& name, const std::string& users = "ann") {
    return offered(name, users, "writeable = yes");
  }
  static std::string exported(const std::string& name, const std::string& clients = "ann",
                              const std::string& right = "rw") {
    return "/mnt/" + name + ' ' + clients + '(' + right + ",sync,no_root_squash)\n";
  }

  void shares(const std::string& text) { machine.file(shares_path, text); }
  std::string shares() const { return machine.read(shares_path); }
  void smb(const std::string& text) { machine.file(smb_path, text); }
  std::string smb() const { return machine.read(smb_path); }
  void exports(const std::string& text) { machine.file(exports_path, text); }
  std::string exports() const { return machine.read(exports_path); }

  /// The copy that a commit keeps is the file as it is.
  bool is_committed(const std::string& path) const {
    const std::string kept = "/var/lib/orv/kept" + path;
    return machine.exists(kept) && machine.read(kept) == machine.read(path);
  }
  bool was_committed(const std::string& path) const {
    return machine.exists("/var/lib/orv/kept" + path);
  }

  /// What a reader makes of a text.
  sandbox::lines read_with(share_reader reader, const std::string& text, int expected = ORV_OK) {
    machine.file("/etc/read", text);
    const open_file file("/etc/read");
    share_list list;
    EXPECT_EQ(reader(file.number(), list.get()), expected) << text;
    return list.told();
  }

  /// What is committed behind a change of the parked exports has another name than their file.
  void expect_commit_of_parked_exports(const std::function<int()>& change) {
    machine.remove("/var/lib/orv");
    machine.file("/etc/exports_recy.conf", "committed\n");
    EXPECT_EQ(change(), ORV_OK);
    EXPECT_TRUE(is_committed("/etc/exports_recy.conf"));
    EXPECT_FALSE(was_committed(exports_recy_path));
  }

  /// The names of the shares in a file.
  sandbox::lines names_in(const char* path, share_reader reader) {
    const open_file file(path);
    share_list list;
    EXPECT_EQ(reader(file.number(), list.get()), ORV_OK);
    sandbox::lines names;
    for (const tag_share_config* share : list.records()) names.push_back(share->name);
    return names;
  }

  /// The only log line: a refusal of a public operation.
  static std::string refusal(const std::string& function, int code, const std::string& reason) {
    return function + ":N return " + std::to_string(code) + " with " + reason + "\n";
  }

  /// Nothing is locked or left open by this process.
  void expect_nothing_held() const {
    EXPECT_THAT(machine.open_descriptors(), testing::IsEmpty());
    EXPECT_THAT(machine.temp_files(), testing::IsEmpty());
  }
};

#endif
