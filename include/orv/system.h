#ifndef ORV_SYSTEM_H
#define ORV_SYSTEM_H

/// System information: versions, device model, temperature, fans, host name, times, power supply.
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
/// @return ORV_OK, ORV_E_POWER, ORV_E_POWER_TOOL, ORV_E_COMMAND when the tool failed, or
///         ORV_E_MODEL when the model is not known
ORV_API int pwstate_get(char* buffer, int size);

#endif
