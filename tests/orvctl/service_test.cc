#include <sys/mman.h>
#include <unistd.h>

#include "tests/orvctl/appliance.h"
#include "tools/orvctl/redirection.h"
#include "tools/orvctl/table.h"

using orvctl::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

using service_verbs = appliance;

TEST_F(service_verbs, show_what_runs) {
  sandbox::fake_tool& pidof = machine.tool("/bin/busybox");
  for (const char* daemon : {"smbd", "nmbd", "orv"}) {
    pidof.on(std::string("pidof ") + daemon).prints("812 790\n").times(2);
  }
  pidof.on("pidof nfsd").fails(1).times(2);
  pidof.on("pidof vsftpd").prints("").times(2);
  pidof.on("pidof ietd").fails(1).times(2);
  EXPECT_EQ(orvctl("service list").out,
            "SERVICE RUNNING\nsamba   yes\nnfs     no\nftp     -\niscsi   no\norv     yes\n");
  EXPECT_EQ(json::parse(orvctl("service list --json").out), json::parse(R"({"format_version": 2,
      "services": [{"name": "samba", "running": true, "error": null},
                   {"name": "nfs", "running": false, "error": null},
                   {"name": "ftp", "running": null, "error": "ORV_E_STATUS_OUTPUT"},
                   {"name": "iscsi", "running": false, "error": null},
                   {"name": "orv", "running": true, "error": null}]})"));
}

TEST_F(service_verbs, start_and_stop_each) {
  const std::pair<const char*, const char*> scripts[] = {
      {"samba", "samba"}, {"nfs", "nfs"}, {"ftp", "vsftpd"}, {"iscsi", "iscsi-target"}};
  for (const auto& [name, script] : scripts) {
    machine.forget();
    const std::string path = std::string("/etc/init.d/") + script;
    const std::string service = name;
    changer(path.c_str());
    EXPECT_EQ(orvctl("service start " + service).err, "Started " + service + ".\n");
    EXPECT_EQ(orvctl("service stop " + service).err, "Stopped " + service + ".\n");
    EXPECT_EQ(orvctl("service restart " + service).err, "Restarted " + service + ".\n");
    EXPECT_THAT(changes(), ElementsAre(path + " start > /dev/null", path + " stop > /dev/null",
                                       path + " stop > /dev/null", path + " start > /dev/null"));
  }
}

TEST_F(service_verbs, tell_when_a_service_does_not_start) {
  machine.tool("/etc/init.d/nfs").on("start").fails(1);
  machine.tool("/etc/init.d/nfs").on("stop").fails(1);
  for (const std::string verb : {"start", "stop", "restart"}) {
    const outcome got = orvctl("service " + verb + " nfs");
    EXPECT_EQ(got.status, 1);
    EXPECT_THAT(got.err, StartsWith("orvctl: service " + verb + ": ORV_E_COMMAND (-11000)"));
  }
}

TEST_F(service_verbs, tell_when_a_restart_ends_half_way) {
  machine.tool("/etc/init.d/nfs").on("stop");
  machine.tool("/etc/init.d/nfs").on("start").fails(1);
  const outcome got = orvctl("service restart nfs");
  EXPECT_EQ(got.status, 5);
  EXPECT_THAT(got.err, HasSubstr("a system command failed: nfs is stopped\n"));
}

TEST_F(service_verbs, start_a_service_that_did_not_run) {
  machine.tool("/etc/init.d/nfs").on("stop").fails(1);
  machine.tool("/etc/init.d/nfs").on("start");
  EXPECT_EQ(orvctl("service restart nfs").status, 0);
}

TEST_F(service_verbs, know_no_other_service) {
  for (const std::string name : {"orv", "smb", "Samba", "vsftpd"}) {
    const outcome got = orvctl("service stop " + name);
    EXPECT_EQ(got.status, 2);
    EXPECT_THAT(got.err, HasSubstr("NAME: '" + name + "' is not samba, nfs, ftp or iscsi\n"));
  }
  EXPECT_THAT(machine.commands(), IsEmpty());
}

using client_verbs = appliance;

TEST_F(client_verbs, show_connected_clients) {
  machine.tool("netstat").on("-t").prints("tcp 0 0 nas:ftp 10.11.0.7:47692\n");
  machine.tool("smbstatus").prints(fixture("smbstatus/one_client.txt"));
  EXPECT_EQ(orvctl("client list").out,
            "SHARE PROTOCOL ADDRESS   USER\n"
            "*     Ftp      10.11.0.7 47692\n"
            "data  CIFS     10.11.0.7 user1\n");
  EXPECT_EQ(json::parse(orvctl("client list --json").out)["clients"][1],
            json::parse(R"({"share": "data", "protocol": "CIFS", "address": "10.11.0.7",
                "user": "user1"})"));
}

TEST_F(client_verbs, show_what_was_found_before_a_failure) {
  machine.tool("netstat").prints("tcp 0 0 nas:ftp 10.11.0.7:47692\n");
  machine.tool("smbstatus").fails(1);
  const outcome got = orvctl("client list");
  EXPECT_EQ(got.status, 1);
  EXPECT_THAT(got.out, HasSubstr("Ftp"));
  EXPECT_THAT(got.err, HasSubstr("ORV_E_COMMAND (-11000)"));
}

/// What the library's tools wrote on standard error while a command line ran.
class client_notes : public client_verbs {
 protected:
  client_notes() { machine.tool("netstat").prints(""); }

  std::string notes_of(const std::string& words) {
    char text[256] = "";
    const int notes = ::memfd_create("notes", MFD_CLOEXEC);
    {
      const orvctl::redirection noted(stderr, notes);
      orvctl(words);
    }
    EXPECT_GE(::pread(notes, text, sizeof text - 1, 0), 0);
    ::close(notes);
    return text;
  }
};

TEST_F(client_notes, of_a_tool_that_succeeds_are_no_news) {
  machine.tool("smbstatus").runs("echo 'No locked files' >&2");
  EXPECT_EQ(notes_of("client list"), "");
}

TEST_F(client_notes, of_a_tool_that_fails_are_shown) {
  machine.tool("smbstatus").runs("echo 'no messaging' >&2; exit 1");
  EXPECT_EQ(notes_of("client list"), "no messaging\n");
}

class ftp_limit_verbs : public appliance {
 protected:
  ftp_limit_verbs() {
    machine.tool("mv").is_real();
    config("# limits\nlisten=YES\n\nlocal_max_rate=0\nmax_clients=20\nmax_per_ip=2\n");
  }
  void config(const std::string& text) { machine.file(path, text); }

  static constexpr char path[] = "/etc/vsftpd.conf";
};

TEST_F(ftp_limit_verbs, show_limits) {
  EXPECT_EQ(orvctl("ftp-limit show").out,
            "LIMIT                    VALUE\nRate of a user (bytes/s) no limit\n"
            "Clients                  20\nClients of one address   2\n");
  EXPECT_EQ(json::parse(orvctl("ftp-limit show --json").out), json::parse(R"({
      "format_version": 2, "ftp_limits": {"rate": 0, "clients": 20, "per_address": 2}})"));
}

TEST_F(ftp_limit_verbs, tell_a_limit_of_0_from_one_that_is_not_there) {
  config("max_clients=1\nmax_per_ip=4294967295\n");
  EXPECT_THAT(orvctl("ftp-limit show").out, HasSubstr("(not in the file)"));
  EXPECT_EQ(json::parse(orvctl("ftp-limit show --json").out)["ftp_limits"],
            json::parse(R"({"rate": null, "clients": 1, "per_address": 4294967295})"));
}

TEST_F(ftp_limit_verbs, change_what_is_named) {
  EXPECT_EQ(orvctl("ftp-limit set --clients 30").err,
            "Set the limits; they hold after 'orvctl service restart ftp'.\n");
  EXPECT_EQ(machine.read(path), "listen=YES\nlocal_max_rate=0\nmax_clients=30\nmax_per_ip=2\n");
  EXPECT_EQ(orvctl("ftp-limit set --rate 2147483647 --clients 0 --per-address 1").status, 0);
  EXPECT_EQ(machine.read(path),
            "listen=YES\nlocal_max_rate=2147483647\nmax_clients=0\nmax_per_ip=1\n");
}

TEST_F(ftp_limit_verbs, do_not_claim_to_set_what_the_file_does_not_have) {
  config("listen=YES\nmax_clients=20\n");
  const outcome got = orvctl("ftp-limit set --clients 30 --rate 5");
  EXPECT_EQ(got.status, 1);
  EXPECT_THAT(got.err, HasSubstr("it has no line 'local_max_rate'\n  What to do: add a line "
                                 "'local_max_rate=0' to '/etc/vsftpd.conf'"));
  EXPECT_EQ(machine.read(path), "listen=YES\nmax_clients=20\n");
}

TEST_F(ftp_limit_verbs, want_numbers) {
  for (const std::string number : {"-1", "2147483648", "1k", "1.5", "-0", "+1", "0x10"}) {
    const outcome got = orvctl("ftp-limit set --clients=" + number);
    EXPECT_EQ(got.status, 2) << number;
    EXPECT_THAT(got.err, HasSubstr("is not a whole number from 0 to 2147483647")) << number;
  }
  EXPECT_EQ(orvctl("ftp-limit set").status, 2);
  machine.remove(path);
  EXPECT_THAT(orvctl("ftp-limit show").err, HasSubstr("ORV_E_FTP_CONFIG (-1063)"));
  EXPECT_THAT(orvctl("ftp-limit set --clients 1").err, HasSubstr("ORV_E_FTP_CONFIG (-1063)"));
}

}  // namespace
