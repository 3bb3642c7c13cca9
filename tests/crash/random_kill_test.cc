#include <sys/prctl.h>

#include <cstdio>
#include <random>
#include <thread>

#include "tests/crash/rewrites.h"

using testing::AnyOf;
using testing::IsEmpty;

namespace {

/// A file that a busy process gives one content and another in turn.
class killed_at_random : public rewrite_test {
 protected:
  using change = std::function<void(int turn)>;

  void kill_many(const std::string& path, const std::string& text, const change& make) {
    prctl(PR_SET_CHILD_SUBREAPER, 1);  // to wait for the tools of a process that was killed
    set_up({{path, text}});
    const std::string start = found_in(path);
    make(0);
    const std::string one = found_in(path);
    make(1);
    const std::string other = found_in(path);
    const int times = rounds(20, 2000);
    for (int i = 0; i < times && !HasFailure(); ++i) {
      kill_busy(make);
      EXPECT_THAT(found_in(path), AnyOf(start, one, other)) << path << ", kill " << i;
    }
    make(0);
    EXPECT_EQ(found_in(path), one);
    EXPECT_THAT(helpers(), IsEmpty());
    machine.forget();
  }

 private:
  void kill_busy(const change& make) {
    const pid_t busy = fork();
    if (busy == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      for (int turn = 0;; ++turn) make(turn % 2);
    }
    std::uniform_int_distribution<int> microseconds(0, 20000);
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds(random_)));
    kill(busy, SIGKILL);
    waitpid(busy, nullptr, 0);
    // A tool that it had started ends before anyone looks.
    while (waitpid(-1, nullptr, 0) > 0) continue;
  }

  std::mt19937 random_{20240131};
};

}  // namespace

TEST_F(killed_at_random, sharefolder_conf) {
  kill_many(shares_path, many_listed(), [](int turn) {
    tag_share_config share = a_share("old7", "ftp");
    set_field(share.comment, turn == 0 ? "one" : "another comment");
    share_mod(&share);
  });
}

TEST_F(killed_at_random, smb_conf) {
  std::string text = global;
  for (int i = 0; i < 40; ++i) text += offered("s" + std::to_string(i));
  shares(listed("s7"));
  kill_many(smb_path, text, [](int turn) {
    tag_share_config share = a_share("s7");
    set_field(share.comment, turn == 0 ? "one" : "another comment");
    share_mod(&share);
  });
}

TEST_F(killed_at_random, exports) {
  std::string text;
  for (int i = 0; i < 100; ++i) text += exported("e" + std::to_string(i));
  kill_many(exports_path, text, [](int turn) {
    tag_share_config share = a_share("e7", "nfs");
    set_field(share.valid_users, turn == 0 ? "10.0.0.1" : "192.168.100.100");
    share_mod(&share);
  });
}

TEST_F(killed_at_random, ietd_conf) {
  std::string text;
  for (int i = 0; i < 60; ++i) {
    text += "Target iqn.2006-05.org.orv:i" + std::to_string(i) +
            ".20240131235959\n\tLun 0 Path=/mnt/i,Type=fileio,IOMode=wb\n";
  }
  kill_many(ietd_path, text, [](int turn) {
    tag_share_config share = a_share("i7", "iscsi");
    set_field(share.valid_users, turn == 0 ? "ann" : "somebody");
    share_mod(&share);
  });
}

TEST_F(killed_at_random, smb_recy_conf) {
  std::string text;
  for (int i = 0; i < 40; ++i) text += parked("p" + std::to_string(i));
  kill_many(smb_recy_path, text, [](int turn) {
    tag_share_config share = a_share("p7");
    set_field(share.valid_users, turn == 0 ? "ann" : "somebody");
    share_recy_mod(&share);
  });
}

TEST_F(killed_at_random, exports_recy) {
  std::string text;
  for (int i = 0; i < 100; ++i) text += exported("p" + std::to_string(i));
  kill_many(exports_recy_path, text, [](int turn) {
    tag_share_config share = a_share("p7", "nfs");
    set_field(share.valid_users, turn == 0 ? "10.0.0.1" : "192.168.100.100");
    share_recy_mod(&share);
  });
}

TEST_F(killed_at_random, nas_userfile_conf) {
  kill_many("/etc/nas_userfile.conf", users_of(1000), [](int turn) {
    user_list users;
    for (int i = 0; i < (turn == 0 ? 300 : 900); ++i) users.add("n" + std::to_string(i), "p");
    set_users_to_conf(users.get());
  });
}

TEST_F(killed_at_random, hostname) {
  kill_many("/etc/hostname", "first",
            [](int turn) { hostname_set(turn == 0 ? "nas" : "a-much-longer-name-of-a-machine"); });
}

TEST_F(killed_at_random, mdfstab) {
  kill_many("/etc/mdfstab", "/dev/v/p\t/mnt/p\txfs\tdefaults\t0 0\n",
            [](int turn) { turn == 0 ? add_mdfstab("/mnt/q", "v", "q") : del_mdfstab("/mnt/q"); });
}

TEST_F(killed_at_random, vsftpd_conf) {
  kill_many("/etc/vsftpd.conf", "max_clients=5\nlisten=YES\nmax_per_ip=1\n",
            [](int turn) { ftp_share_para_set(0, turn == 0 ? 1 : 1000000, 3); });
}

TEST_F(killed_at_random, shadow) {
  machine.file("/etc/nas_userfile.conf", "");
  kill_many("/etc/shadow", shadow_of(), [](int) {
    (void)!truncate("/etc/nas_userfile.conf", 0);
    add_user("bob");
  });
}
