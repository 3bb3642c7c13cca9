#ifndef ORV_SYSTEM_H
#define ORV_SYSTEM_H

/// System information: versions, device model, temperature, fans, host name, times, power supply.
/// System control: power off, restart, clock, host name, process list.
///
/// Every getter fills the caller's buffer with a terminated text, cut to `size` - 1 bytes, and
/// returns ORV_OK or the code it names. Every failure is logged. A NULL buffer or a size of 0 or
/// less makes a getter fail with its own code; nothing is written.

#include <orv/errors.h>
#include <orv/export.h>

/// Software version: "/etc/sys_info", section "version", key "software"; when that leaves the
/// buffer empty, the same from "/etc/nas_base.conf". The buffer is cleared first.
/// @return ORV_OK or ORV_E_SOFTWARE_VERSION
ORV_API int softversion_get(char* buffer, int size);

/// Hardware version: as `softversion_get` with the key "hardware".
/// @return ORV_OK or ORV_E_HARDWARE_VERSION
ORV_API int hardversion_get(char* buffer, int size);

/// Device model, such as KTA7120X: as `softversion_get` with section "product" and key "type".
/// @return ORV_OK or ORV_E_MODEL
ORV_API int devmodel_get(char* buffer, int size);

/// Temperature text, from the state file that serves the device model. The buffer is cleared first.
/// @return ORV_OK, ORV_E_TEMPERATURE, or ORV_E_MODEL when the model is not known
ORV_API int tmp_get(char* buffer, int size);

/// Fan speeds as "fan1:SPEED,fan2:SPEED,..." for the fans of the device model that report one.
/// The buffer is cleared first; a list that does not fit is cut.
/// @param size  capacity of the buffer; when it is 0 or less the list is not bounded by it, and the
///              buffer must hold 128 bytes
/// @return ORV_OK (also when no fan reports), ORV_E_FANS, or ORV_E_MODEL when the model is not
///         known
ORV_API int fan_speed_get(char* buffer, int size);

/// Host name: first line of "/etc/hostname".
/// @return ORV_OK or ORV_E_HOSTNAME; then the buffer is unchanged
ORV_API int hostname_get(char* buffer, int size);

/// Start time of the device: first line of "/etc/nas_start_time.conf".
/// @return ORV_OK or ORV_E_START_TIME; then the buffer is unchanged
ORV_API int starttime_get(char* buffer, int size);

/// Current local time as "YYYY-MM-DD HH:MM:SS"; 20 bytes hold it, and a smaller buffer gets it cut.
/// @return ORV_OK or ORV_E_CLOCK
ORV_API int systime_get(char* buffer, int size);

/// Power supply state text, from the state file or the tool that serves the device model. On a
/// model without either (KTA7120A) the buffer stays as it was and the result is ORV_OK.
/// @return ORV_OK, ORV_E_POWER, ORV_E_COMMAND when the tool failed, ORV_E_MODEL when the model is
///         not known, or ORV_E_POWER_TOOL when the tool's output cannot be opened for reading and
///         writing or is empty, and then it stays in /tmp
ORV_API int pwstate_get(char* buffer, int size);

// --- Control -------------------------------------------------------------------------------------

/// A date and time of day, local time.
struct tag_datetime {
  int year;    ///< all four digits, as in 2010
  int month;   ///< 1 to 12
  int day;     ///< 1 to 31
  int hour;    ///< 0 to 23
  int minute;  ///< 0 to 59
  int second;  ///< 0 to 59
};

static_assert(sizeof(tag_datetime) == 24);

/// Powers the machine off. The call may return before the machine is down.
/// @return ORV_OK, or ORV_E_FAILED when "halt" failed
ORV_API int sys_shutdown();

/// Restarts the machine. The call may return before the machine is down.
/// @return ORV_OK, or ORV_E_FAILED when "reboot" failed
ORV_API int sys_reboot();

/// Writes the list of processes, as "ps aux" prints it, to a file. The path may be of any length.
/// @return ORV_OK, or ORV_E_FAILED; then the file may hold a part of the list
ORV_API int procinfo_get(const char* path);

/// Sets the system clock, and then the hardware clock from it, to universal time. Fields out of
/// range count on: February 30 is a day of March. Whether daylight saving time is in force is
/// decided by the time zone. A hardware clock that cannot be set does not matter.
/// @return ORV_OK; ORV_E_CLOCK_ZONE when the clock cannot be asked; ORV_E_CLOCK_SET when the
///         time is beyond any calendar or the system does not take it; ORV_E_FAILED for NULL. The
///         clocks are unchanged on failure.
ORV_API int systime_set(const tag_datetime* time);

/// Stores the host name in "/etc/hostname", without a line end, and applies it. A control character
/// in it becomes a blank. Takes the lock "/var/lib/orv/lock/hostname" meanwhile, for which it waits
/// up to ten seconds; where the lock file cannot be made, it goes on without it.
/// @return ORV_OK; ORV_E_HOSTNAME_OPEN when the file cannot be opened, or another change keeps the
///         lock, and nothing is changed; ORV_E_HOSTNAME_WRITE, and the file is as before, empty or
///         cut; ORV_E_HOSTNAME_SET when the system does not take the name, which is in the file
///         already: a name longer than 64 bytes, for one
ORV_API int hostname_set(const char* name);

#endif
