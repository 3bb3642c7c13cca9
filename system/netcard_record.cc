#include <orv/network.h>

#include <cstdio>

#include "common/families.h"
#include "common/log.h"

void netcard_info_init(tag_netcard* card) {
  if (card == nullptr) return;
  orv::clear_fields<tag_netcard_list>(card);
  card->state = 1;
}

void netcard_info_fini(tag_netcard* card) {
  if (card != nullptr) orv::clear_fields<tag_netcard_list>(card);
}

int netcard_info_show(const tag_netcard* card) {
  if (card == nullptr) return orv::log_missing_argument();
  std::printf("%s\t%s\t%s\n\t%s", card->name, card->ip, card->netmask, card->gateway);
  return std::printf("\t%s\n", card->mac);
}

void netcard_list_init(tag_netcard_list* list) { orv::list_init(list); }

int netcard_list_fini(tag_netcard_list* list) { return orv::list_fini(list); }

void netcard_list_show(const tag_netcard_list* list) { orv::list_show(list, netcard_info_show); }
