#ifndef ORV_SUPPORT_H
#define ORV_SUPPORT_H

/// The support library: command runner, error log, bounded strings, line, field and INI readers,
/// configuration commit and kernel version. It knows nothing of the storage stack.
///
/// Conventions of this header:
///  - a size is the whole capacity of the destination buffer in bytes, terminator included; a size
///    of 0 or less writes nothing;
///  - white space means blank, tab, CR, LF, vertical tab and form feed;
///  - a NULL text reads as the empty text, unless a function says otherwise;
///  - no function clears `errno` on its failure path.

#include <orv/export.h>

#include <cstdint>
#include <cstdio>

// --- Commands and the error log ------------------------------------------------------------------

/// Runs a command line through "/bin/sh -c" and waits for it, also across interrupted waits.
///
/// The command's locale is "C", its standard input is "/dev/null", it inherits standard output and
/// standard error ("/dev/null" where the caller has none), no other descriptor, and no blocked
/// signal. The cost does not depend on the size of the calling process.
///
/// A command line of plain words, with at most "> FILE" at its end, may be run without starting
/// the shell, where "/bin/sh" is dash or bash: what comes of it is the same, but that the tool's
/// parent is the calling process. What cannot be started so is left to the shell.
///
/// @param cmd  the command line; NULL is an error
/// @return the raw wait status: 0 means that the command ran and exited with 0; low 7 bits non-zero
///         means that the shell was ended by a signal; bits 8 to 15 are the exit code (127 when
///         there is no shell). -1 when no process could be started or waited for, or `cmd` is NULL.
///         A process that ignores SIGCHLD cannot wait: its commands run, but always give -1.
ORV_API int liborv_system(const char* cmd);

/// Limits how long each command may run that the calling thread runs from here on, by
/// `liborv_system` or inside any other function of the libraries. The limit is of one command, not
/// of a function that runs several; it belongs to the thread, and a new thread has none.
///
/// Under a limit the shell leads a process group of its own, so that keys typed at the terminal do
/// not reach the command. Past the limit the whole group gets SIGTERM, and what is left of it
/// SIGKILL after two seconds, or as soon as the shell and all that it started have ended. The call
/// then fails as for a command that was ended by a signal, at most three seconds past the limit,
/// and `errno` is ETIMEDOUT, which the log shows. A process that a device holds, so that not even
/// SIGKILL ends it, is waited for no longer; nor is one that left the group (a daemon, as services
/// start them), which is left alone and goes on. The command may have done any part of its work, or
/// all of it.
///
/// @param seconds  the limit; 0: none, which is what every thread begins with
/// @return the limit before
ORV_API unsigned orv_set_tool_timeout(unsigned seconds);

/// @return the calling thread's limit for commands in seconds; 0: none
ORV_API unsigned orv_tool_timeout();

/// Formats like `printf` and appends the text to the error log: `syslog(3)` with the ident "orv",
/// facility daemon, priority error. Nothing is added to the text. `errno` is kept.
///
/// @return always -1, so that callers may return it as their own failure result
ORV_API int liborv_log_error(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Formats like `printf` and writes "MESSAGE: TEXT OF errno" and a line end to the error log.
/// `errno` is kept.
ORV_API void orv_perror_msg(const char* format, ...) __attribute__((format(printf, 1, 2)));

// --- Bounded strings -----------------------------------------------------------------------------

/// Copies at most `size` - 1 bytes of `src` and always terminates `dst`.
/// @return `dst`
ORV_API char* liborv_strncpy(char* dst, int size, const char* src);

/// Appends `src` to the text in `dst` so that the result, terminator included, fits in `size`
/// bytes.
/// @return `dst`, always terminated
ORV_API char* liborv_strncat(char* dst, int size, const char* src);

/// Compares two lists element by element. Blanks around an element do not count, an empty element
/// matches nothing, and elements match only as a whole.
///
/// @param separators  the characters that separate elements, usually ","
/// @return 0 when some element of the first list equals some element of the second, else 1
ORV_API int liborv_strcmp_substr(const char* first, const char* second, const char* separators);

/// Cuts `text` after its first `len` bytes and removes the white space around what is left, in
/// place.
///
/// @param text  storage for at least `len` + 1 bytes, unless the text ends before that
/// @return pointer to the cleaned text inside `text`; `text` unchanged when `len` is 0 or less
ORV_API char* clear_string(char* text, int len);

/// Removes trailing white space in place.
/// @return `s`
ORV_API char* rtrimstr(char* s);

/// @return pointer to the first character of `s` that is no white space; the text is not moved
ORV_API char* ltrimstr(char* s);

/// @return 1 when `s` is not empty and consists of decimal digits only, else 0
ORV_API int isdigital(const char* s);

/// Splits "key = value" in place at the first "=". Neither part is trimmed.
///
/// @param key    receives the start of the line
/// @param value  receives the text after the "="
/// @return 1; 0 when the line holds no "=" or an argument is NULL, and then nothing is changed
ORV_API int key_val_split(char* line, char** key, char** value);

// --- Lines and fields ----------------------------------------------------------------------------

/// Reads the next line without its line end. Of a line longer than the buffer the rest is returned
/// by the next call.
///
/// @param size  at least 2
/// @return the number of bytes read, 0 for an empty line; exactly -1 at the end of the file;
///         -2 when the file cannot be read or an argument is unusable
ORV_API int fgetline(FILE* stream, char* buffer, int size);

/// Scans an open file from its start and copies one whole line without its line end, cut to
/// `size` - 1 bytes.
///
/// @param key  NULL: the line numbered `n` (0 is the first). Else: the `n`-th line (from 0) whose
///             first field, the text before the first separator, equals the key once the white
///             space around it is removed
/// @param separators  the characters that end the first field; a line without one is one field
/// @return 0 when a line was copied; -1 when there is no such line or an argument is unusable; -2
///         when the file cannot be read. On failure `out` is unchanged.
ORV_API int get_line_from_file(FILE* stream, const char* key, int n, const char* separators,
                               char* out, int size);

/// As `get_line_from_file`, counting from the end of the file: `n` 0 is the last line that matches.
ORV_API int get_line_from_file_end(FILE* stream, const char* key, int n, const char* separators,
                                   char* out, int size);

/// Finds a field in the first `len` bytes of a line. Fields are separated by runs of separator
/// characters; blanks, tabs and separators at the start of the line are passed over.
///
/// @param index  number of the field, from 0
/// @param field  receives a pointer to the field's first character in a copy of the line. The field
///               is not cut: the rest of the line follows it. The copy belongs to the calling
///               thread, may be written to, and lives until the thread's next call; the line may be
///               an earlier result.
/// @return 1, or 0 when the line has fewer fields; then `field` is unchanged
ORV_API int get_substr_from_line(const char* line, int len, const char* separators, int index,
                                 char** field);

/// Reads one field, counted and separated as by `get_substr_from_line` and ending at the next
/// separator, as an unsigned decimal number. A line end after the digits is ignored.
///
/// @return 0; -1 when the field is missing, is not all digits or does not fit 64 bits, and then
///         `value` is unchanged
ORV_API int get_size_from_display(const char* line, int len, const char* separators, int index,
                                  uint64_t* value);

/// Copies one field as text, cut to `size` - 1 bytes and without a line end.
/// @return 0; -1 when the field is missing, and then `out` is unchanged
ORV_API int get_str_from_display(const char* line, int len, const char* separators, int index,
                                 char* out, int size);

// --- Configuration files -------------------------------------------------------------------------

/// Looks a key up in an INI file: section heads in square brackets, "key=value" lines. Keys and
/// values are trimmed; the first section of the name and its first such key win; lines that begin
/// with "#" or ";" are comments.
///
/// @param out  receives the value, cut to `size` - 1 bytes
/// @return 0 when the key was found; -1 when the file, the section or the key is missing, and then
///         `out` is unchanged
ORV_API int ini_value_get(char* out, const char* path, const char* section, const char* key,
                          int size);

/// The same lookup with its arguments in another order.
ORV_API int ini_key_get(const char* path, const char* section, const char* key, char* out,
                        int size);

/// Copies the text between a mark at the start of a line and the next "]" of that line; without a
/// "]" the text up to the line end.
///
/// @param mark  what the line begins with, usually "["
/// @param n     which of the lines that begin with the mark, from 1
/// @return 0; -1 when there is no such line, and then `out` is unchanged
ORV_API int txt_line_seek(const char* path, const char* mark, int n, char* out, int size);

/// Makes a rewritten configuration file durable (the file and its directory are synced) and keeps a
/// copy of it, with owner and mode, at the same path below "/var/lib/orv/kept"; an older copy is
/// replaced atomically. A share file that its writer brought to the disk before it rewrote the file
/// in place is not synced again: after a power cut who locks or reads it by this library finds it
/// as it was committed. May be called while this process holds record locks on the file: they stay.
///
/// @param path  absolute path of the file, without ".."
/// @return 0; -1 when the file could not be copied or synced, or is no regular file (`errno` says
///         why). A file that could not be copied keeps its older copy.
ORV_API int conf_save(const char* path);

// --- The machine ---------------------------------------------------------------------------------

/// @return the running kernel's version as major * 1000000 + minor * 1000 + patch (2.6.29 is
///         2006029); -1 when it cannot be asked
ORV_API int get_linux_version();

/// Path of the system password file, "/etc/passwd".
ORV_API extern const char* const orv_path_passwd_file;

/// Path of the shadow password file, "/etc/shadow".
ORV_API extern const char* const orv_path_shadow_file;

#endif
