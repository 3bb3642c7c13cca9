#ifndef ORV_COMMON_LOG_H
#define ORV_COMMON_LOG_H

/// The forms of the error log, one helper each. `errno` at the time of the call gives the reason;
/// the caller's name and line come from the call site.

#include <orv/errors.h>

#include <new>

namespace orv {

/// "NAME:LINE return CODE with REASON". @return the code, for `return log_failure(...)`
int log_failure(int code, const char* function = __builtin_FUNCTION(), int line = __builtin_LINE());

/// "NAME:LINE return NULL with REASON".
void log_null(const char* function = __builtin_FUNCTION(), int line = __builtin_LINE());

/// "NAME[LINE]: return with CODE", without a line end, as the readers of the mount table write it.
void log_mount_failure(int code, const char* function = __builtin_FUNCTION(),
                       int line = __builtin_LINE());

/// A function was called without a record, list or buffer: logged as "Invalid argument".
/// @return ORV_E_FAILED
int log_missing_argument(const char* function = __builtin_FUNCTION(), int line = __builtin_LINE());

/// A function ran out of memory: the edge of the library, which no exception crosses.
///
///     int raid_get(tag_mdinfo_list* list) try {
///       ...
///     } catch (const std::bad_alloc&) {
///       return orv::without_memory();
///     }
///
/// @return the code, ORV_E_FAILED unless that means something else there
int without_memory(int code = ORV_E_FAILED, const char* function = __builtin_FUNCTION(),
                   int line = __builtin_LINE());

/// Throws std::bad_alloc when `errno` says that memory was missing, after something was not found
/// or not opened: what nobody could look for is not what is not there.
void check_memory();

/// What a failed command is logged with. Three copies of the form differ by a blank; log readers
/// match each of them as it stands.
inline constexpr char command_failed[] = "system(\"%s\") return %s with exit(%d) for '%s'\n";
inline constexpr char command_failed_tight_return[] =
    "system(\"%s\")return %s with exit(%d) for '%s'\n";
inline constexpr char command_failed_tight_for[] =
    "system(\"%s\") return %s with exit(%d)for '%s'\n";

/// Logs a failed command with one of the forms above.
/// @param status  its wait status
/// @return the result of the log call
int log_command(const char* form, const char* command_text, int status);

}  // namespace orv

#endif
