#ifndef ORV_H
#define ORV_H

/// orv: the management library of a network storage appliance.
///
/// Conventions of every function, by number:
///
///  1. Results. An `int` result is ORV_OK (0) or a negative code of orv/errors.h; `orv_strerror`
///     gives its meaning. What a function returns otherwise stands with it. Every failure writes
///     one line to the error log. A function that runs out of memory fails too, with ORV_E_FAILED
///     where it names no code for it; no exception leaves the library.
///  2. Ownership. The caller owns every record, list object and buffer that it passes in. A list is
///     initialised with its family's `*_list_init`, filled by a getter, and released with
///     `*_list_fini`, which frees the records with `free`; a caller that appends records of its own
///     allocates them with `malloc`. A getter appends at the tail; what it appended before a
///     failure stays in the list.
///  3. Units. Disks, arrays, volume groups and pools count GiB, file systems MiB.
///  4. Texts. Every text is NUL-terminated; a text that is too long for its field or buffer is cut
///     silently. A NULL text argument reads as the empty text. A NULL list, record or buffer makes
///     a function fail with ORV_E_FAILED, or with its own code where it names one.
///  5. Commands. A value with characters that mean something to the shell reaches the tool verbatim
///     as one word. A value that is empty or would be read as an option, and a command longer than
///     255 characters, are not run: the call is logged and fails like a failed command.
///  6. Threads. Functions may run at the same time on different lists. Two changes of the same
///     object at the same time are as safe as two runs of the system's own tools.
///  7. State. The library starts no thread and keeps nothing between calls.

#include <orv/alarm.h>
#include <orv/disk.h>
#include <orv/errors.h>
#include <orv/export.h>
#include <orv/fs.h>
#include <orv/list.h>
#include <orv/lvm.h>
#include <orv/network.h>
#include <orv/raid.h>
#include <orv/service.h>
#include <orv/share.h>
#include <orv/support.h>
#include <orv/system.h>
#include <orv/user.h>

#endif
