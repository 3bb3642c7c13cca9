#ifndef ORV_NETWORK_H
#define ORV_NETWORK_H

/// Network interfaces: addresses from the kernel, gateways from "/etc/network/interfaces".

#include <orv/errors.h>
#include <orv/export.h>
#include <orv/list.h>

#include <cstddef>

/// One network interface with an IPv4 address.
struct tag_netcard {
  char name[16];     ///< without the alias suffix: "eth0" of "eth0:1"
  char ip[16];       ///< dotted
  char netmask[16];  ///< dotted
  char gateway[16];  ///< dotted; empty when none is configured
  char mac[24];      ///< six hexadecimal bytes in lower case, as in 00:1b:21:0a:0b:0c
  int state;         ///< 1 in a new record, 0 in a released one; not used otherwise
  list_node node;    ///< link of its list
};

/// List of network interfaces.
struct tag_netcard_list : tag_netcard {};

static_assert(sizeof(tag_netcard) == 112 && offsetof(tag_netcard, ip) == 16 &&
              offsetof(tag_netcard, netmask) == 32 && offsetof(tag_netcard, gateway) == 48 &&
              offsetof(tag_netcard, mac) == 64 && offsetof(tag_netcard, state) == 88 &&
              offsetof(tag_netcard, node) == 96);
static_assert(sizeof(tag_netcard_list) == sizeof(tag_netcard));

/// Zeroes every field but the link and sets `state` to 1.
ORV_API void netcard_info_init(tag_netcard* card);
/// Zeroes every field but the link.
ORV_API void netcard_info_fini(tag_netcard* card);
/// Prints the record on two lines.
/// @return the result of the last `printf`, which prints the MAC address
ORV_API int netcard_info_show(const tag_netcard* card);
/// Clears the anchor's fields as a record and makes the list empty.
ORV_API void netcard_list_init(tag_netcard_list* list);
/// Releases every record. @return 0; -1 for a NULL list, after printing "Can't destory NULL list"
ORV_API int netcard_list_fini(tag_netcard_list* list);
/// Prints every record; for a NULL list "Can't show NULL list".
ORV_API void netcard_list_show(const tag_netcard_list* list);

/// Appends the interfaces that are up and have an IPv4 address, but for "lo", in the kernel's
/// order. An alias gives one more record of its base interface, with the base's addresses. An
/// interface that the kernel does not tell about is left out. What went wrong is printed; only want
/// of memory and a NULL list are logged.
/// @return ORV_OK; ORV_E_FAILED when the kernel's interface table cannot be read, there is no
///         memory, or for a NULL list
ORV_API int netcard_get(tag_netcard_list* list);

/// Looks up the gateway of an interface: the "gateway" line between the line that ends in the
/// interface's name ("auto eth0") and the second "iface" line behind it. Words of a line are
/// separated by one blank. What went wrong is not logged, but for want of memory; "open error" is
/// printed when the file cannot be opened.
/// @param gateway  at least 16 bytes; unchanged unless the result is ORV_OK
/// @return ORV_OK; ORV_E_FAILED when the file cannot be opened or read, or `gateway` is NULL;
///         ORV_E_NO_GATEWAY when there is none, or it is no dotted IPv4 address
ORV_API int get_gateway(const char* path, const char* name, char* gateway);

#endif
