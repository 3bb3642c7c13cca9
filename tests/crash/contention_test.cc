#include <fcntl.h>
#include <shadow.h>
#include <sys/mman.h>

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <set>
#include <sstream>

#include "tests/crash/rewrites.h"
#include "tests/share/insist.h"

using testing::IsEmpty;

namespace {

constexpr int processes = 8;

/// Eight processes that change the same files at the same time.
class contention : public rewrite_test {
 protected:
  static int changes() { return rounds(12, 250); }
  static std::string name_of(int process, int i) {
    return "p" + std::to_string(process) + "x" + std::to_string(i);
  }

  /// @param work  of one process; false when something was lost or refused as it should not be
  static void in_all_processes(const std::function<bool(int process)>& work) {
    std::vector<pid_t> all;
    for (int process = 0; process < processes; ++process) {
      const pid_t id = fork();
      if (id == 0) _exit(work(process) ? 0 : 1);
      all.push_back(id);
    }
    for (const pid_t id : all) {
      int status = -1;
      EXPECT_EQ(waitpid(id, &status, 0), id);
      EXPECT_EQ(status, 0);
    }
  }

  static std::set<std::string> all_names(int step = 1) {
    std::set<std::string> names;
    for (int process = 0; process < processes; ++process) {
      for (int i = 0; i < changes(); i += step) names.insert(name_of(process, i));
    }
    return names;
  }
};

/// Another program that changes the shadow file as the tools of the system do, and tries again when
/// it was not its turn for fifteen seconds.
bool lock_and_append(const std::string& line) {
  while (lckpwdf() != 0) {
    if (errno != EINTR && errno != EAGAIN) return false;
  }
  std::stringstream text;
  text << std::ifstream("/etc/shadow").rdbuf() << line;
  { std::ofstream("/etc/nshadow") << text.str(); }
  const bool is_renamed = std::rename("/etc/nshadow", "/etc/shadow") == 0;
  ulckpwdf();
  return is_renamed;
}

}  // namespace

TEST_F(contention, loses_no_share) {
  shares("");
  exports("");
  smb(global);
  in_all_processes([](int process) {
    const char* const service = process % 2 == 0 ? "nfs" : "samba";
    for (int i = 0; i < changes(); ++i) {
      tag_share_config share = a_share(name_of(process, i), service);
      if (insist([&] { return share_add(&share); }, ORV_E_SHARE_EXISTS) < 0) return false;
      if (i % 2 == 0) continue;
      const std::string name = share.name;
      if (insist([&] { return share_del(name.c_str(), service); }, ORV_E_NO_SHARE) < 0) {
        return false;
      }
    }
    return true;
  });
  const auto kept = all_names(2);
  EXPECT_THAT(names_in(shares_path, get_share_from_conf), testing::UnorderedElementsAreArray(kept));
  auto offered = names_in(exports_path, get_share_from_nfs);
  const auto by_samba = names_in(smb_path, get_share_from_smb);
  EXPECT_EQ(offered.size(), by_samba.size());
  offered.insert(offered.end(), by_samba.begin(), by_samba.end());
  EXPECT_THAT(offered, testing::UnorderedElementsAreArray(kept));
  EXPECT_THAT(helpers(), IsEmpty());
}

TEST_F(contention, loses_no_entry_of_the_mount_table) {
  machine.file("/etc/mdfstab", "");
  in_all_processes([](int process) {
    for (int i = 0; i < changes(); ++i) {
      const std::string path = "/mnt/" + name_of(process, i);
      if (add_mdfstab(path.c_str(), "v", "p") != ORV_OK) return false;
      if (i % 2 == 1 && del_mdfstab(path.c_str()) != ORV_OK) return false;
    }
    return true;
  });
  std::set<std::string> found;
  std::istringstream table(machine.read("/etc/mdfstab"));
  for (std::string device, path, rest; table >> device >> path && std::getline(table, rest);) {
    EXPECT_TRUE(found.insert(path.substr(5)).second) << path;
  }
  EXPECT_EQ(found, all_names(2));
}

TEST_F(contention, loses_no_password_beside_a_program_that_uses_lckpwdf) {
  std::string shadow = "root:*:1\n";
  for (const std::string& name : all_names()) shadow += name + ":!:1\n";
  machine.file("/etc/shadow", shadow, 0600);
  machine.file("/etc/nas_userfile.conf", "", 0600);
  const pid_t other = fork();
  if (other == 0) {
    bool is_done = true;
    for (int i = 0; i < changes() && is_done; ++i) {
      is_done = lock_and_append("other" + std::to_string(i) + ":!:1\n");
    }
    _exit(is_done ? 0 : 1);
  }
  in_all_processes([](int process) {
    for (int i = 0; i < changes(); ++i) {
      int result = ORV_E_SHADOW_LOCKED;  // as long as others have kept the lock for fifteen seconds
      while (result == ORV_E_SHADOW_LOCKED) result = add_user(name_of(process, i));
      if (result != ORV_OK) return false;
    }
    return true;
  });
  int status = -1;
  waitpid(other, &status, 0);
  EXPECT_EQ(status, 0);
  const std::string after = machine.read("/etc/shadow");
  for (const std::string& name : all_names()) {
    EXPECT_NE(after.find('\n' + name + ":$1$"), std::string::npos) << name;
  }
  for (int i = 0; i < changes(); ++i) {
    EXPECT_NE(after.find("\nother" + std::to_string(i) + ':'), std::string::npos) << i;
  }
  user_list users;
  EXPECT_EQ(get_users_from_conf(users.get()), ORV_OK);
  EXPECT_EQ(users.records().size(), all_names().size());
}
