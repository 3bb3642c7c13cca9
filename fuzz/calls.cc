/// What the library calls instead of the C library while it is fuzzed; calls.txt pairs the names.

#include <crypt.h>
#include <dirent.h>
#include <fcntl.h>
#include <grp.h>
#include <mntent.h>
#include <net/if.h>
#include <orv/support.h>
#include <poll.h>
#include <pwd.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/time.h>
#include <sys/utsname.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>

#include "machine.h"
#include "support/companion_path.h"

using fuzz::file;
using fuzz::the_machine;

namespace {

struct handle {
  std::shared_ptr<file> content;  // an empty one for a socket
  std::size_t offset = 0;
  bool appends = false;
  bool is_directory = false;
  bool is_open = false;
};

constexpr int first_descriptor = 1000;
std::vector<handle> handles;

handle* handle_of(int number) {
  const std::size_t index = static_cast<std::size_t>(number - first_descriptor);
  if (number >= first_descriptor && index < handles.size() && handles[index].is_open) {
    return &handles[index];
  }
  errno = EBADF;
  return nullptr;
}

/// What a directory or a socket holds.
std::shared_ptr<file> no_content() {
  static const auto nothing = std::make_shared<file>();
  return nothing;
}

int open_handle(handle opened) {
  opened.is_open = true;
  const auto free = std::find_if(handles.begin(), handles.end(),
                                 [](const handle& known) { return !known.is_open; });
  const auto index = free - handles.begin();
  if (free == handles.end()) handles.emplace_back();
  handles[static_cast<std::size_t>(index)] = std::move(opened);
  return first_descriptor + static_cast<int>(index);
}

int fail_with(int error) {
  errno = error;
  return -1;
}

struct open_stream {
  FILE* stream;
  int descriptor;
  std::size_t buffer;
};
std::vector<open_stream> streams;

/// Streams use buffers of ours: theirs would be most of what an execution allocates.
constexpr std::size_t buffer_size = 4096;
char stream_buffers[8][buffer_size];

std::size_t free_buffer() {
  std::size_t buffer = 0;
  while (buffer < std::size(stream_buffers) &&
         std::any_of(streams.begin(), streams.end(),
                     [buffer](const open_stream& known) { return known.buffer == buffer; })) {
    ++buffer;
  }
  return buffer;
}

// A stream reads and writes through these; its cookie is the descriptor.
int number_in(void* cookie) { return static_cast<int>(reinterpret_cast<intptr_t>(cookie)); }

std::size_t read_at(const handle& from, void* buffer, std::size_t size, std::size_t offset) {
  if (offset >= from.content->text.size()) return 0;
  const std::size_t count = std::min(size, from.content->text.size() - offset);
  std::memcpy(buffer, from.content->text.data() + offset, count);
  return count;
}

bool has_room_for(std::string_view path) {
  return the_machine.now.tv_sec != 0 || !path.starts_with(orv::support::companions_directory);
}

}  // namespace

std::size_t fuzz::open_handles() {
  return static_cast<std::size_t>(std::count_if(handles.begin(), handles.end(),
                                                [](const handle& known) { return known.is_open; }));
}

extern "C" {

ssize_t machine_read(int number, void* buffer, std::size_t size) {
  handle* const from = handle_of(number);
  if (from == nullptr) return -1;
  if (from->is_directory) return fail_with(EISDIR);
  const std::size_t count = read_at(*from, buffer, size, from->offset);
  from->offset += count;
  return static_cast<ssize_t>(count);
}

ssize_t machine_pread(int number, void* buffer, std::size_t size, off_t offset) {
  const handle* const from = handle_of(number);
  if (from == nullptr) return -1;
  return static_cast<ssize_t>(read_at(*from, buffer, size, static_cast<std::size_t>(offset)));
}

ssize_t machine_write(int number, const void* buffer, std::size_t size) {
  handle* const to = handle_of(number);
  if (to == nullptr) return -1;
  std::string& text = to->content->text;
  if (to->appends) to->offset = text.size();
  if (text.size() < to->offset + size) text.resize(to->offset + size);
  std::memcpy(text.data() + to->offset, buffer, size);
  to->offset += size;
  the_machine.date(*to->content);
  return static_cast<ssize_t>(size);
}

off_t machine_lseek(int number, off_t offset, int whence) {
  handle* const moved = handle_of(number);
  if (moved == nullptr) return -1;
  if (whence == SEEK_CUR) offset += static_cast<off_t>(moved->offset);
  if (whence == SEEK_END) offset += static_cast<off_t>(moved->content->text.size());
  if (offset < 0) return fail_with(EINVAL);
  moved->offset = static_cast<std::size_t>(offset);
  return offset;
}

int machine_close(int number) {
  handle* const closed = handle_of(number);
  if (closed == nullptr) return -1;
  *closed = handle();
  return 0;
}

int machine_open(const char* path, int flags, ...) {
  if (the_machine.is_directory(path)) {
    return open_handle({no_content(), 0, false, true});
  }
  auto content = the_machine.find(path);
  if (content && (flags & O_CREAT) != 0 && (flags & O_EXCL) != 0) return fail_with(EEXIST);
  if (!content && (flags & O_CREAT) == 0) return fail_with(ENOENT);
  if (!content && !has_room_for(path)) return fail_with(ENOSPC);
  if (!content) content = the_machine.make(path);
  if ((flags & O_TRUNC) != 0) {
    content->text.clear();
    the_machine.date(*content);
  }
  return open_handle({content, 0, (flags & O_APPEND) != 0, false});
}

static ssize_t read_stream(void* cookie, char* buffer, std::size_t size) {
  return machine_read(number_in(cookie), buffer, size);
}

static ssize_t write_stream(void* cookie, const char* buffer, std::size_t size) {
  return machine_write(number_in(cookie), buffer, size);
}

static int seek_stream(void* cookie, off64_t* offset, int whence) {
  const off_t reached = machine_lseek(number_in(cookie), *offset, whence);
  *offset = reached;
  return reached < 0 ? -1 : 0;
}

static int close_stream(void* cookie) {
  const int number = number_in(cookie);
  std::erase_if(streams, [number](const open_stream& known) { return known.descriptor == number; });
  return machine_close(number);
}

FILE* machine_fdopen(int number, const char* mode) {
  void* const cookie = reinterpret_cast<void*>(static_cast<intptr_t>(number));
  FILE* const stream =
      fopencookie(cookie, mode, {read_stream, write_stream, seek_stream, close_stream});
  if (stream == nullptr) return nullptr;
  const std::size_t buffer = free_buffer();
  if (buffer < std::size(stream_buffers)) {
    std::setvbuf(stream, stream_buffers[buffer], _IOFBF, buffer_size);
  }
  streams.push_back({stream, number, buffer});
  return stream;
}

FILE* machine_fopen(const char* path, const char* mode) {
  int flags = O_RDONLY;
  if (mode[0] == 'w') flags = O_CREAT | O_TRUNC;
  if (mode[0] == 'a') flags = O_CREAT | O_APPEND;
  const int number = machine_open(path, flags);
  return number < 0 ? nullptr : machine_fdopen(number, mode);
}

FILE* machine_setmntent(const char* path, const char* mode) { return machine_fopen(path, mode); }

int machine_fileno(FILE* stream) {
  for (const open_stream& known : streams) {
    if (known.stream == stream) return known.descriptor;
  }
  return fail_with(EBADF);
}

static void describe(struct stat* examined, const file& content, bool is_directory) {
  *examined = {};
  examined->st_dev = 1;
  examined->st_ino = content.number;
  examined->st_nlink = 1;
  examined->st_mode = is_directory ? S_IFDIR | 0755 : S_IFREG | content.mode;
  examined->st_size = static_cast<off_t>(content.text.size());
  examined->st_mtim = examined->st_ctim = content.changed;
}

int machine_fstat(int number, struct stat* examined) {
  const handle* const known = handle_of(number);
  if (known == nullptr) return -1;
  describe(examined, *known->content, known->is_directory);
  return 0;
}

int machine_stat(const char* path, struct stat* examined) {
  const auto content = the_machine.find(path);
  const bool is_directory = !content && the_machine.is_directory(path);
  if (!content && !is_directory) return fail_with(ENOENT);
  describe(examined, content ? *content : file(), is_directory);
  return 0;
}

int machine_access(const char* path, int) {
  struct stat examined {};
  return machine_stat(path, &examined);
}

int machine_ftruncate(int number, off_t size) {
  const handle* const known = handle_of(number);
  if (known == nullptr) return -1;
  known->content->text.resize(static_cast<std::size_t>(size));
  the_machine.date(*known->content);
  return 0;
}

int machine_posix_fallocate(int number, off_t offset, off_t size) {
  const handle* const known = handle_of(number);
  if (known == nullptr) return errno;
  const auto end = static_cast<std::size_t>(offset + size);
  if (known->content->text.size() < end) known->content->text.resize(end);
  return 0;
}

/// Room is there, and the size stays.
int machine_fallocate(int number, int, off_t, off_t) {
  return handle_of(number) == nullptr ? -1 : 0;
}

/// There are links where there is room for companions; they are read, not followed.
int machine_symlink(const char* target, const char* path) {
  if (!has_room_for(path)) return fail_with(EPERM);
  if (the_machine.find(path)) return fail_with(EEXIST);
  const auto made = the_machine.make(path);
  made->text = target;
  made->is_link = true;
  return 0;
}

ssize_t machine_readlink(const char* path, char* target, std::size_t size) {
  const auto found = the_machine.find(path);
  if (!found || !found->is_link) return fail_with(found ? EINVAL : ENOENT);
  return static_cast<ssize_t>(found->text.copy(target, size));
}

int machine_lstat(const char* path, struct stat* examined) { return machine_stat(path, examined); }

/// The only time that is set is that of now.
int machine_utimensat(int, const char* path, const timespec*, int) {
  const auto found = the_machine.find(path);
  if (!found) return fail_with(ENOENT);
  the_machine.date(*found);
  return 0;
}

int machine_fsync(int number) { return handle_of(number) == nullptr ? -1 : 0; }
int machine_fchown(int number, uid_t, gid_t) { return handle_of(number) == nullptr ? -1 : 0; }
int machine_futimens(int number, const timespec*) { return handle_of(number) == nullptr ? -1 : 0; }

int machine_fchmod(int number, mode_t mode) {
  const handle* const known = handle_of(number);
  if (known == nullptr) return -1;
  known->content->mode = mode;
  return 0;
}

/// Nobody else holds a lock.
int machine_fcntl(int number, int command, ...) {
  if (handle_of(number) == nullptr) return -1;
  if (command == F_GETLK || command == F_OFD_GETLK) {
    va_list rest;
    va_start(rest, command);
    va_arg(rest, struct flock*)->l_type = F_UNLCK;
    va_end(rest);
  }
  return 0;
}

int machine_flock(int number, int) { return handle_of(number) == nullptr ? -1 : 0; }

int machine_mkostemp(char* path, int) {
  static unsigned long count = 0;
  const std::size_t length = std::strlen(path);
  if (length < 6) return fail_with(EINVAL);
  std::snprintf(path + length - 6, 7, "%06lu", ++count % 1000000);
  const auto made = the_machine.make(path);
  made->mode = 0600;
  return open_handle({made, 0, false, false});
}

int machine_unlink(const char* path) {
  if (!the_machine.find(path)) return fail_with(ENOENT);
  the_machine.remove(path);
  return 0;
}

int machine_rename(const char* from, const char* to) {
  return the_machine.move(from, to) ? 0 : fail_with(ENOENT);
}

int machine_mkdir(const char*, mode_t) { return 0; }

char* machine_realpath(const char* path, char*) {
  if (the_machine.find(path) || the_machine.is_directory(path)) return strdup(path);
  errno = ENOENT;
  return nullptr;
}

int machine_statfs(const char* path, struct statfs64* figures) {
  if (!the_machine.find(path) && !the_machine.is_directory(path)) return fail_with(ENOENT);
  *figures = {};
  figures->f_bsize = the_machine.block_size;
  figures->f_blocks = the_machine.blocks;
  figures->f_bavail = the_machine.available;
  return 0;
}

struct open_directory {
  std::vector<std::string> names;
  std::size_t next = 0;
  dirent entry{};
  int descriptor = -1;
};

DIR* machine_opendir(const char* path) {
  if (!the_machine.is_directory(path)) {
    errno = ENOENT;
    return nullptr;
  }
  auto* const opened = new open_directory{the_machine.names_in(path)};
  opened->names.insert(opened->names.begin(), {".", ".."});
  opened->descriptor = open_handle({no_content(), 0, false, true});
  return reinterpret_cast<DIR*>(opened);
}

dirent* machine_readdir(DIR* directory) {
  auto* const opened = reinterpret_cast<open_directory*>(directory);
  if (opened->next == opened->names.size()) return nullptr;
  const std::string& name = opened->names[opened->next++];
  const std::size_t length = name.copy(opened->entry.d_name, sizeof opened->entry.d_name - 1);
  opened->entry.d_name[length] = '\0';
  return &opened->entry;
}

int machine_closedir(DIR* directory) {
  auto* const opened = reinterpret_cast<open_directory*>(directory);
  machine_close(opened->descriptor);
  delete opened;
  return 0;
}

// --- Sockets and interfaces ----------------------------------------------------------------------

int machine_socket(int, int, int) { return open_handle({no_content(), 0, false, false}); }
int machine_bind(int, const sockaddr*, socklen_t) { return 0; }
int machine_connect(int, const sockaddr*, socklen_t) { return 0; }
ssize_t machine_send(int, const void*, std::size_t size, int) { return static_cast<ssize_t>(size); }

int machine_setsockopt(int, int, int, const void*, socklen_t) { return 0; }
int machine_poll(pollfd*, nfds_t, int) { return fail_with(ENOTCONN); }

ssize_t machine_recv(int number, void* buffer, std::size_t size, int) {
  handle* const from = handle_of(number);
  if (from == nullptr) return -1;
  const std::string& text = the_machine.from_peer;
  const std::size_t left = text.size() - std::min(text.size(), from->offset);
  const std::size_t count = std::min({size, left, the_machine.piece});
  std::memcpy(buffer, text.data() + (left == 0 ? 0 : from->offset), count);
  from->offset += count;
  return static_cast<ssize_t>(count);
}

/// Of the kernel's answers every byte comes from the input: the table as it is, and the answer to
/// each further question from where the one before ended.
int machine_ioctl(int number, unsigned long request, void* argument) {
  handle* const asked = handle_of(number);
  if (asked == nullptr) return -1;
  const std::string& answers = the_machine.interfaces;
  if (request == SIOCGIFCONF) {
    auto* const query = static_cast<ifconf*>(argument);
    const std::size_t room = static_cast<std::size_t>(query->ifc_len);
    const std::size_t size = std::min(room, answers.size() / sizeof(ifreq) * sizeof(ifreq));
    std::memcpy(query->ifc_req, answers.data(), size);
    query->ifc_len = static_cast<int>(size);
    return 0;
  }
  if (answers.empty()) return fail_with(ENODEV);
  auto* const answer = static_cast<ifreq*>(argument);
  char bytes[sizeof answer->ifr_ifru];
  for (char& byte : bytes) byte = answers[asked->offset++ % answers.size()];
  if (bytes[0] == 0x7f) return fail_with(ENODEV);
  std::memcpy(&answer->ifr_ifru, bytes, sizeof bytes);
  return 0;
}

}  // extern "C"

/// Finds the first entry of a file for which a condition holds.
template <class Entry, class Next, class Condition>
static int find_entry(const char* path, Next next, Condition is_wanted, Entry** found) {
  *found = nullptr;
  FILE* const file = machine_fopen(path, "re");
  if (file == nullptr) return 0;
  int result = 0;
  while ((result = next(file, found)) == 0 && !is_wanted(**found)) {
  }
  std::fclose(file);
  if (result != 0) *found = nullptr;
  return result == ENOENT ? 0 : result;
}

extern "C" {

// --- Accounts, clock, log, processes -------------------------------------------------------------

int machine_getpwnam_r(const char* name, passwd* entry, char* texts, std::size_t size,
                       passwd** found) {
  return find_entry(
      "/etc/passwd",
      [&](FILE* file, passwd** next) { return fgetpwent_r(file, entry, texts, size, next); },
      [name](const passwd& next) { return std::strcmp(next.pw_name, name) == 0; }, found);
}

int machine_getgrnam_r(const char* name, group* entry, char* texts, std::size_t size,
                       group** found) {
  return find_entry(
      "/etc/group",
      [&](FILE* file, group** next) { return fgetgrent_r(file, entry, texts, size, next); },
      [name](const group& next) { return std::strcmp(next.gr_name, name) == 0; }, found);
}

int machine_getgrgid_r(gid_t number, group* entry, char* texts, std::size_t size, group** found) {
  return find_entry(
      "/etc/group",
      [&](FILE* file, group** next) { return fgetgrent_r(file, entry, texts, size, next); },
      [number](const group& next) { return next.gr_gid == number; }, found);
}

/// As cheap as a hash can be: that of a password is its setting.
char* machine_crypt_r(const char*, const char* setting, crypt_data*) {
  static char hash[128];
  std::snprintf(hash, sizeof hash, "%s", setting[0] == '$' ? setting : "*0");
  return hash;
}

time_t machine_time(time_t*) { return 1704067200; }  // 2024-01-01 00:00:00
int machine_settimeofday(const timeval*, const struct timezone*) { return 0; }
int machine_sethostname(const char*, std::size_t) { return 0; }
void machine_openlog(const char*, int, int) {}
void machine_syslog(int, const char*, ...) {}
int machine_system(const char* command) { return the_machine.run(command); }

int machine_uname(utsname* machine_names) {
  *machine_names = {};
  the_machine.release.copy(machine_names->release, sizeof machine_names->release - 1);
  return 0;
}

}  // extern "C"

// These two of the library start processes; `redirect` takes them out.
int liborv_system(const char* command) { return the_machine.run(command); }
int conf_save(const char*) { return 0; }
