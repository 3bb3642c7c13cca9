#include "subject.h"

namespace faults {
namespace {

using list = tag_shareconn_list;

std::vector<subject> controls() {
  struct control {
    const char* name;
    int (*function)();
  };
  std::vector<subject> all;
  for (const control& one : std::initializer_list<control>{{"smb_start()", smb_start},
                                                           {"smb_stop()", smb_stop},
                                                           {"nfs_start()", nfs_start},
                                                           {"nfs_stop()", nfs_stop},
                                                           {"ftp_start()", ftp_start},
                                                           {"ftp_stop()", ftp_stop},
                                                           {"iscsi_start()", iscsi_start},
                                                           {"iscsi_stop()", iscsi_stop}})
    all.push_back({.name = one.name, .documented = command, .prepare = call(one.function)});
  for (const control& one :
       std::initializer_list<control>{{"smb_status_get()", smb_status_get},
                                      {"orv_status_get()", orv_status_get},
                                      {"nfs_status_get()", nfs_status_get},
                                      {"ftp_status_get()", ftp_status_get},
                                      {"iscsi_status_get()", iscsi_status_get}})
    all.push_back({.name = one.name,
                   .documented = {ORV_E_COMMAND, ORV_E_STATUS_OUTPUT, ORV_E_FAILED},
                   .prepare = call(one.function)});
  return all;
}

}  // namespace

std::vector<subject> service_subjects() {
  const codes clients = {ORV_E_COMMAND, ORV_E_NETSTAT, ORV_E_SMBSTATUS, ORV_E_EXPORTS};
  std::vector<subject> all = controls();
  const std::vector<subject> others = {
      {.name = "share_status_get(char const*)",
       .documented = {ORV_E_STATUS_OUTPUT, ORV_E_FAILED},
       .prepare =
           [](world& w) {
             w.machine.file("/tmp/answer", "812\n");
             return ready_call{.act = [] { return long{share_status_get("/tmp/answer")}; }};
           }},
      {.name = "share_conn_get(tag_shareconn_list*)",
       .documented = clients,
       .prepare = with_list<list>(share_conn_get),
       .overcomes =
           because("without an answer there is no session", {"access /proc/net/iet/session"})},
      {.name = "get_conninfo_from_netstat(tag_shareconn_list*)",
       .documented = clients,
       .prepare = with_list<list>(get_conninfo_from_netstat)},
      {.name = "get_conninfo_from_smbstatus(tag_shareconn_list*)",
       .documented = clients,
       .prepare = with_list<list>(get_conninfo_from_smbstatus)},
      {.name = "get_conninfo_from_session(tag_shareconn_list*)",
       .documented = clients,
       .prepare = with_list<list>(get_conninfo_from_session),
       .overcomes =
           because("without an answer there is no session", {"access /proc/net/iet/session"})},
      {.name = "check_ip(char const*)", .documented = {ORV_E_FAILED}, .prepare = call([] {
                                                                        return check_ip("10.0.0.1");
                                                                      })},
      {.name = "ftp_share_para_get(unsigned int*, unsigned int*, unsigned int*)",
       .documented = {ORV_E_FTP_CONFIG},
       .prepare =
           [](world&) {
             auto limits = std::make_shared<std::array<unsigned, 3>>();
             return ready_call{
                 .act =
                     [=] {
                       return long{ftp_share_para_get(&(*limits)[0], &(*limits)[1], &(*limits)[2])};
                     },
                 .show =
                     [=] { std::printf("%u %u %u\n", (*limits)[0], (*limits)[1], (*limits)[2]); }};
           }},
      {.name = "ftp_share_para_set(unsigned int, unsigned int, unsigned int)",
       .documented = {ORV_E_FTP_CONFIG, ORV_E_FTP_TEMPORARY, ORV_E_COMMAND},
       .prepare = call([] { return ftp_share_para_set(1000, 7, 3); }),
       .leaves = {"/tmp/vsftpd.XXXXXX"}},
  };
  all.insert(all.end(), others.begin(), others.end());
  return all;
}

}  // namespace faults
