/// Functions of the C library that a test can make fail, and that are bent in no other way. A test
/// program that bends one of them itself takes its own definition.
#include <dirent.h>
#include <fcntl.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <cerrno>
#include <csignal>
#include <cstdio>

#include "define.h"
#include "libc.h"

namespace sandbox::libc {
namespace {

constexpr std::string_view functions[] = {"clone",     "connect",  "fallocate",
                                          "fchmod",    "fcntl",    "fdopen",
                                          "flock",     "fread",    "fread at the end",
                                          "ftruncate", "futimens", "getline",
                                          "kill",      "lstat",    "open",
                                          "pread",     "readdir",  "read",
                                          "recv",      "sendfile", "unlink",
                                          "waitpid",   "write"};

// The threads of the sandbox and of the test's own daemons go on undisturbed.
constinit thread_local bool is_under_test = false;

}  // namespace

std::span<const std::string_view> failing_calls() {
  is_under_test = true;
  return functions;
}

bool fails_here(std::string_view function) { return is_under_test && fails(function); }

}  // namespace sandbox::libc

namespace {

using sandbox::libc::fails_here;
using sandbox::libc::real;

}  // namespace

#define DEFINE_FAILING(result, name, symbol, parameters, ...)                                     \
  extern "C" __attribute__((visibility("default"), weak))                                         \
  result own_##symbol parameters asm(#symbol);                                                    \
  extern "C" result own_##symbol parameters {                                                     \
    return fails_here(name) ? static_cast<result>(-1) : real<own_##symbol>(#symbol, __VA_ARGS__); \
  }

DEFINE_FAILING(int, "connect", connect, (int file, const sockaddr* to, socklen_t size), file, to,
               size)
DEFINE_FAILING(int, "fallocate", fallocate, (int file, int mode, off_t at, off_t size), file, mode,
               at, size)
DEFINE_FAILING(int, "fallocate", fallocate64, (int file, int mode, off_t at, off_t size), file,
               mode, at, size)
DEFINE_FAILING(int, "fchmod", fchmod, (int file, mode_t mode), file, mode)
DEFINE_FAILING(int, "flock", flock, (int file, int operation), file, operation)
DEFINE_FAILING(int, "ftruncate", ftruncate, (int file, off_t size), file, size)
DEFINE_FAILING(int, "ftruncate", ftruncate64, (int file, off_t size), file, size)
DEFINE_FAILING(int, "futimens", futimens, (int file, const timespec* times), file, times)
DEFINE_FAILING(int, "kill", kill, (pid_t process, int signal), process, signal)
DEFINE_FAILING(int, "lstat", lstat, (const char* path, struct stat* found), path, found)
DEFINE_FAILING(int, "lstat", lstat64, (const char* path, struct stat64* found), path, found)
DEFINE_FAILING(ssize_t, "pread", pread, (int file, void* to, size_t size, off_t at), file, to, size,
               at)
DEFINE_FAILING(ssize_t, "pread", pread64, (int file, void* to, size_t size, off_t at), file, to,
               size, at)
DEFINE_FAILING(ssize_t, "read", read, (int file, void* to, size_t size), file, to, size)
DEFINE_FAILING(ssize_t, "recv", recv, (int file, void* to, size_t size, int flags), file, to, size,
               flags)
DEFINE_FAILING(ssize_t, "sendfile", sendfile, (int to, int from, off_t* at, size_t size), to, from,
               at, size)
DEFINE_FAILING(ssize_t, "sendfile", sendfile64, (int to, int from, off_t* at, size_t size), to,
               from, at, size)
DEFINE_FAILING(int, "unlink", unlink, (const char* path), path)
DEFINE_FAILING(pid_t, "waitpid", waitpid, (pid_t child, int* status, int options), child, status,
               options)
DEFINE_FAILING(ssize_t, "write", write, (int file, const void* from, size_t size), file, from, size)

#define DEFINE_WEAK(result, symbol, ...)                  \
  extern "C" __attribute__((visibility("default"), weak)) \
  result own_##symbol(__VA_ARGS__) asm(#symbol);          \
  extern "C" result own_##symbol(__VA_ARGS__)

// Of fcntl(2) only locks fail: descriptors are asked for their flags everywhere.
bool lock_fails(int command) {
  return (command == F_SETLK || command == F_GETLK) && fails_here("fcntl");
}

DEFINE_WEAK(int, fcntl, int file, int command, void* value) {
  return lock_fails(command) ? -1 : real<own_fcntl>("fcntl", file, command, value);
}

DEFINE_WEAK(int, fcntl64, int file, int command, void* value) {
  return lock_fails(command) ? -1 : real<own_fcntl64>("fcntl64", file, command, value);
}

// What is not closed on exec(2) is opened for a tool, in its own process: the error is the
// caller's.
bool open_fails(const char* path, int flags) {
  if ((flags & O_CLOEXEC) != 0 && fails_here("open")) return true;
  const bool wants_device = (flags & O_EXCL) != 0 && (flags & O_CREAT) == 0;
  if (!wants_device || !sandbox::libc::is_in_use(path)) return false;
  errno = EBUSY;
  return true;
}

// The mode is read by the C library only when it is given.
DEFINE_WEAK(int, open, const char* path, int flags, mode_t mode) {
  return open_fails(path, flags) ? -1 : real<own_open>("open", path, flags, mode);
}

DEFINE_WEAK(int, open64, const char* path, int flags, mode_t mode) {
  return open_fails(path, flags) ? -1 : real<own_open64>("open64", path, flags, mode);
}

DEFINE_WEAK(FILE*, fdopen, int file, const char* mode) {
  return fails_here("fdopen") ? nullptr : real<own_fdopen>("fdopen", file, mode);
}

DEFINE_WEAK(dirent*, readdir, DIR* directory) {
  return fails_here("readdir") ? nullptr : real<own_readdir>("readdir", directory);
}

DEFINE_WEAK(dirent*, readdir64, DIR* directory) {
  return fails_here("readdir") ? nullptr : real<own_readdir64>("readdir64", directory);
}

// The flags that ferror(3) and feof(3) ask for are what the C library makes them.
size_t as_failed(FILE* stream, size_t got) {
  stream->_flags = (stream->_flags & ~_IO_EOF_SEEN) | _IO_ERR_SEEN;
  return got;
}

// One item is read before the error, or all that there are.
template <class Read>
size_t read_before_error(Read read, size_t count, FILE* stream) {
  const bool fails_at_once = fails_here("fread");
  const bool fails_at_end = fails_here("fread at the end");
  const size_t got = read(fails_at_once ? 1 : count);
  return fails_at_once || fails_at_end ? as_failed(stream, got) : got;
}

DEFINE_WEAK(size_t, fread, void* to, size_t size, size_t count, FILE* stream) {
  const auto read = [&](size_t some) { return real<own_fread>("fread", to, size, some, stream); };
  return read_before_error(read, count, stream);
}

DEFINE_WEAK(size_t, fread_unlocked, void* to, size_t size, size_t count, FILE* stream) {
  const auto read = [&](size_t some) {
    return real<own_fread_unlocked>("fread_unlocked", to, size, some, stream);
  };
  return read_before_error(read, count, stream);
}

DEFINE_WEAK(ssize_t, getline, char** line, size_t* room, FILE* stream) {
  return fails_here("getline") ? -1 : real<own_getline>("getline", line, room, stream);
}

// What it is called by the header in an optimised build.
DEFINE_WEAK(ssize_t, __getdelim, char** line, size_t* room, int end, FILE* stream) {
  if (fails_here("getline")) return -1;
  return real<own___getdelim>("__getdelim", line, room, end, stream);
}

// Its further arguments are not used here.
DEFINE_WEAK(int, clone, int (*run)(void*), void* stack, int flags, void* argument) {
  return fails_here("clone") ? -1 : real<own_clone>("clone", run, stack, flags, argument);
}
