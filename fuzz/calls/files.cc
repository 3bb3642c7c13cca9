/// Descriptors and streams of files.

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <iterator>
#include <string>
#include <vector>

#include "handles.h"

using fuzz::fail_with;
using fuzz::file;
using fuzz::handle;
using fuzz::handle_of;
using fuzz::the_machine;

namespace {

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

}  // namespace

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

int machine_open(const char* path, int flags, ...) {
  if (the_machine.is_directory(path)) {
    return fuzz::open_handle({fuzz::no_content(), 0, false, true});
  }
  auto content = the_machine.find(path);
  if (content && (flags & O_CREAT) != 0 && (flags & O_EXCL) != 0) return fail_with(EEXIST);
  if (!content && (flags & O_CREAT) == 0) return fail_with(ENOENT);
  if (!content && !the_machine.has_room_for(path)) return fail_with(ENOSPC);
  if (!content) content = the_machine.make(path);
  if ((flags & O_TRUNC) != 0) {
    content->text.clear();
    the_machine.date(*content);
  }
  return fuzz::open_handle({content, 0, (flags & O_APPEND) != 0, false});
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

int machine_fileno(FILE* stream) {
  for (const open_stream& known : streams) {
    if (known.stream == stream) return known.descriptor;
  }
  return fail_with(EBADF);
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

}  // extern "C"
