#include <orv/service.h>

#include "common/log.h"

int share_conn_get(tag_shareconn_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  conn_list_init(list);
  int result = get_conninfo_from_netstat(list);
  if (result == ORV_OK) result = get_conninfo_from_smbstatus(list);
  if (result == ORV_OK) result = get_conninfo_from_session(list);
  return result;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
