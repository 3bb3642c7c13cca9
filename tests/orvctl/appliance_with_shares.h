#ifndef ORV_TESTS_ORVCTL_APPLIANCE_WITH_SHARES_H
#define ORV_TESTS_ORVCTL_APPLIANCE_WITH_SHARES_H

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/orvctl/appliance.h"
#include "tools/orvctl/table.h"

/// The appliance, with the files of its services and no share yet.
class appliance_with_shares : public appliance {
 protected:
  appliance_with_shares() {
    machine.file(samba, global);
    machine.file(exports, "");
    machine.file(targets, "");
    machine.file(listed, "");
    machine.file("/etc/nas_userfile.conf", "ann||secret of ann\n", 0600);
  }

  static constexpr char listed[] = "/etc/sharefolder.conf";
  static constexpr char samba[] = "/etc/samba/smb.conf";
  static constexpr char exports[] = "/etc/exports";
  static constexpr char targets[] = "/etc/ietd.conf";
  static constexpr char parked_samba[] = "/etc/samba/smb_recy.conf";
  static constexpr char parked_exports[] = "/etc/exports_recy";
  static constexpr char global[] = "[global]\n    workgroup = NAS\n";

  /// A command that succeeds and says nothing that matters.
  static void done(const std::vector<std::string>& words) {
    const outcome got = run(words, "", false);
    EXPECT_EQ(got.status, 0) << got.err;
  }
  static void done(const std::string& words) {
    const outcome got = orvctl(words);
    EXPECT_EQ(got.status, 0) << words << '\n' << got.err;
  }
  static void expect_said(const std::string& words, const std::string& sentence) {
    const outcome got = orvctl(words);
    EXPECT_EQ(got.status, 0) << words;
    EXPECT_EQ(got.out, "") << words;
    EXPECT_EQ(got.err, sentence + "\n") << words;
  }
  static void expect_failure(const std::string& words, int status, const std::string& meaning) {
    const outcome got = orvctl(words);
    EXPECT_EQ(got.status, status) << words;
    EXPECT_EQ(got.out, "") << words;
    EXPECT_THAT(got.err, testing::HasSubstr(meaning)) << words;
  }

  /// The values of a key in a file, in their order: what each share has.
  sandbox::lines values(const std::string& path, const std::string& key) const {
    std::istringstream text(machine.read(path));
    sandbox::lines all;
    const std::string start = "    " + key + " = ";
    for (std::string line; std::getline(text, line);) {
      if (line.starts_with(start)) all.push_back(line.substr(start.size()));
    }
    return all;
  }

  /// Every file that a change of shares may touch.
  sandbox::lines contents() const {
    sandbox::lines all;
    for (const char* path : {listed, samba, exports, targets, parked_samba, parked_exports}) {
      all.push_back(machine.exists(path) ? machine.read(path) : "none");
    }
    return all;
  }
};

/// Another process that holds the lock of a file for some time, or until this ends.
class other_process {
 public:
  explicit other_process(const char* path, int milliseconds = -1) {
    int ready[2];
    if (::pipe(ready) != 0) ::abort();
    process_ = ::fork();
    if (process_ == 0) hold(path, milliseconds, ready[1]);
    ::close(ready[1]);
    char said = 0;
    EXPECT_EQ(::read(ready[0], &said, 1), 1);
    ::close(ready[0]);
  }
  ~other_process() {
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
  }
  other_process(const other_process&) = delete;
  other_process& operator=(const other_process&) = delete;

 private:
  [[noreturn]] static void hold(const char* path, int milliseconds, int ready) {
    const int file = ::open(path, O_RDWR | O_CREAT, 0600);
    struct flock whole {};
    whole.l_type = F_WRLCK;
    if (::fcntl(file, F_SETLK, &whole) != 0 || ::write(ready, "!", 1) != 1) ::_exit(1);
    if (milliseconds < 0) ::pause();
    ::usleep(static_cast<useconds_t>(milliseconds) * 1000);
    ::_exit(0);
  }

  pid_t process_ = -1;
};

#endif
