#include <orv/service.h>

#include <cstdio>

#include "common/families.h"
#include "common/log.h"

void conn_conf_init(tag_share_conn* connection) {
  if (connection != nullptr) orv::clear_fields<tag_shareconn_list>(connection);
}

void conn_conf_fini(tag_share_conn* connection) { conn_conf_init(connection); }

int conn_conf_show(const tag_share_conn* connection) {
  if (connection == nullptr) return orv::log_missing_argument();
  std::printf("%16s\t%s\t%s", connection->share, connection->protocol, connection->ip);
  return std::printf("\t'%s'\n", connection->user);
}

void conn_list_init(tag_shareconn_list* list) { orv::list_init(list); }

int conn_list_fini(tag_shareconn_list* list) { return orv::list_fini(list); }

void conn_list_show(const tag_shareconn_list* list) { orv::list_show(list, conn_conf_show); }
