#ifndef ORV_ALARM_H
#define ORV_ALARM_H

/// Alarms: what the alarm daemon behind "/dev/alarm.socket" reports.
///
/// One connection carries one question and its answer. Each process connects from a path of its
/// own, "/dev/alarm.socket.PID", so several may ask at once. Two threads of one process may not
/// open at the same time: each removes the path that the other is binding.

#include <orv/errors.h>
#include <orv/export.h>
#include <orv/list.h>

#include <cstddef>

// --- Records -------------------------------------------------------------------------------------

/// One alarm.
struct tag_alarm_info {
  char id[8];      ///< alarm number, cut to 7 characters
  char name[64];   ///< what raised it
  char time[20];   ///< when it was raised, local time as "YYYY-MM-DD HH:MM:SS"
  char text[256];  ///< description
  list_node node;  ///< link of its list
};

/// List of alarms.
struct tag_alarm_list : tag_alarm_info {};

static_assert(sizeof(tag_alarm_info) == 368 && offsetof(tag_alarm_info, name) == 8 &&
              offsetof(tag_alarm_info, time) == 72 && offsetof(tag_alarm_info, text) == 92 &&
              offsetof(tag_alarm_info, node) == 352);
static_assert(sizeof(tag_alarm_list) == sizeof(tag_alarm_info));

/// Zeroes every field but the link.
ORV_API void alarm_conf_init(tag_alarm_info* alarm);
/// Zeroes every field but the link.
ORV_API void alarm_conf_fini(tag_alarm_info* alarm);
/// Prints the record without a line end.
/// @return the result of the last `printf`, which prints the text
ORV_API int alarm_conf_show(const tag_alarm_info* alarm);
/// Clears the anchor's fields and makes the list empty.
ORV_API void alarm_list_init(tag_alarm_list* list);
/// Releases every record. @return 0; -1 for a NULL list, after printing "Can't destory NULL list"
ORV_API int alarm_list_fini(tag_alarm_list* list);
/// Prints every record, all in one line; for an empty list "There is no alarm!", for a NULL list
/// "Can't show NULL list".
ORV_API void alarm_list_show(const tag_alarm_list* list);

// --- The daemon ----------------------------------------------------------------------------------

/// Appends the current alarms, in the daemon's order. A daemon that has not sent its whole answer
/// 30 seconds after the call is given up, whatever it sent by then; where the thread's limit for
/// commands (`orv_set_tool_timeout`) is shorter, that counts. At most 256 units of 516 bytes are
/// read. The client's path stays in "/dev" until the process asks again.
/// @return ORV_OK, also when there is no alarm; ORV_E_ALARM_BIND, ORV_E_ALARM_CONNECT (no daemon),
///         ORV_E_ALARM_SEND, ORV_E_ALARM_REPLY, ORV_E_ALARM_ITEM; ORV_E_FAILED for a NULL list.
///         Alarms that arrived before a failure stay in the list.
ORV_API int alarm_get(tag_alarm_list* list);

/// The same operation as `alarm_get`.
ORV_API int get_alarminfo_from_socket(tag_alarm_list* list);

/// Connects to the daemon, and waits for it to take the connection as long as `alarm_get` would.
/// @return a descriptor that the caller closes; ORV_E_ALARM_BIND when the client's own socket or
///         path cannot be made, ORV_E_ALARM_CONNECT when nothing listens or takes the connection;
///         then nothing stays open
ORV_API int alarm_socket_open();

/// Asks for the alarms on an open connection and appends them. The connection stays open; it serves
/// for one question, which is given up as that of `alarm_get`.
/// @return ORV_OK; ORV_E_ALARM_SEND when the question cannot be sent; ORV_E_ALARM_REPLY when the
///         answer does not begin or its first unit is cut; ORV_E_ALARM_ITEM when the answer ends
///         before the last alarm that it announces, or within one; ORV_E_FAILED for a NULL list.
///         Alarms that arrived whole before a failure stay in the list.
ORV_API int alarm_socket_get(tag_alarm_list* list, int socket);

#endif
