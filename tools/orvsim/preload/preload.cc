// Preloaded into the programs that run inside the appliance: the sizes of its file systems and its
// clock are the simulation's, where the host's would be seen otherwise.

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/statvfs.h>
#include <sys/time.h>
#include <sys/un.h>
#include <sys/vfs.h>
#include <unistd.h>

#define ORVSIM_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

/// The function that this library stands before.
template <typename Function>
Function next(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

bool receive_bytes(int connection, char* bytes, std::size_t size) {
  while (size > 0) {
    const ssize_t now = read(connection, bytes, size);
    if (now <= 0) return false;
    bytes += now;
    size -= static_cast<std::size_t>(now);
  }
  return true;
}

std::vector<std::string> split(const std::string& text) {
  std::vector<std::string> fields(1);
  for (const char c : text) {
    if (c == '\0') {
      fields.emplace_back();
    } else {
      fields.back() += c;
    }
  }
  return fields;
}

/// Asks the server; no fields when there is none.
std::vector<std::string> exchange(int connection, const std::string& question) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strcpy(address.sun_path, "/run/orvsim/socket");
  if (connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    return {};
  }
  auto size = static_cast<std::uint32_t>(question.size());
  std::string message(reinterpret_cast<const char*>(&size), sizeof size);
  message += question;
  if (send(connection, message.data(), message.size(), MSG_NOSIGNAL) < 0) return {};
  if (!receive_bytes(connection, reinterpret_cast<char*>(&size), sizeof size)) return {};
  std::string answer(size, '\0');
  if (!receive_bytes(connection, answer.data(), size)) return {};
  return split(answer);
}

std::vector<std::string> ask(const char* kind, const std::string& value) {
  const int kept = errno;
  const int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (connection < 0) return {};
  std::vector<std::string> answer = exchange(connection, std::string(kind) + '\0' + value);
  close(connection);
  errno = kept;
  return answer;
}

/// Size and use of a simulated file system.
struct sizes {
  unsigned long type;
  unsigned long block_size;
  unsigned long long blocks, free, files, free_files;
};

/// The simulated file system that a path is on, if it is on one.
bool find_sizes(const char* path, sizes& found) {
  char real[PATH_MAX];
  if (realpath(path, real) == nullptr) return false;
  const std::vector<std::string> answer = ask("statfs", real);
  if (answer.size() != 7 || answer[0] != "sizes") return false;
  const auto number = [&answer](std::size_t i) {
    return std::strtoull(answer[i].c_str(), nullptr, 10);
  };
  found = {number(1), number(2), number(3), number(4), number(5), number(6)};
  return true;
}

std::string path_of(int file) { return "/proc/self/fd/" + std::to_string(file); }

int fill_statfs(int result, const char* path, struct statfs* buffer) {
  sizes found{};
  if (result != 0 || !find_sizes(path, found)) return result;
  buffer->f_type = static_cast<decltype(buffer->f_type)>(found.type);
  buffer->f_bsize = buffer->f_frsize = static_cast<decltype(buffer->f_bsize)>(found.block_size);
  buffer->f_blocks = found.blocks;
  buffer->f_bfree = buffer->f_bavail = found.free;
  buffer->f_files = found.files;
  buffer->f_ffree = found.free_files;
  return result;
}

int fill_statvfs(int result, const char* path, struct statvfs* buffer) {
  sizes found{};
  if (result != 0 || !find_sizes(path, found)) return result;
  buffer->f_bsize = buffer->f_frsize = found.block_size;
  buffer->f_blocks = found.blocks;
  buffer->f_bfree = buffer->f_bavail = found.free;
  buffer->f_files = found.files;
  buffer->f_ffree = buffer->f_favail = found.free_files;
  return result;
}

/// How the appliance's clock goes: `since` of the host was `at` here, `rate` times as fast.
struct clock_page {
  double since, at, rate;
};

const clock_page* open_clock() {
  const int file = open("/run/orvsim/clock", O_RDONLY | O_CLOEXEC);
  if (file < 0) return nullptr;
  void* const page = mmap(nullptr, sizeof(clock_page), PROT_READ, MAP_SHARED, file, 0);
  close(file);
  return page == MAP_FAILED ? nullptr : static_cast<const clock_page*>(page);
}

const clock_page* the_clock() {
  static const clock_page* const page = open_clock();
  return page;
}

constexpr long nanoseconds = 1000000000;

void move_to_appliance(timespec& time) {
  const clock_page* const page = the_clock();
  if (page == nullptr || (page->rate == 1.0 && page->at == page->since)) return;
  const double host = static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
  const double here = page->at + (host - page->since) * page->rate;
  time.tv_sec = static_cast<time_t>(here);
  time.tv_nsec = static_cast<long>((here - static_cast<double>(time.tv_sec)) * 1e9) % nanoseconds;
}

timespec appliance_time() {
  timespec time{};
  next<int (*)(clockid_t, timespec*)>("clock_gettime")(CLOCK_REALTIME, &time);
  move_to_appliance(time);
  return time;
}

int set_time(time_t seconds, long part) {
  const double time = static_cast<double>(seconds) + static_cast<double>(part) / 1e9;
  const std::vector<std::string> answer = ask("settime", std::to_string(time));
  if (!answer.empty() && answer[0] == "ok") return 0;
  errno = EPERM;
  return -1;
}

}  // namespace

ORVSIM_EXPORT int statfs(const char* path, struct statfs* buffer) noexcept {
  const auto real = next<int (*)(const char*, struct statfs*)>("statfs64");
  return fill_statfs(real(path, buffer), path, buffer);
}

ORVSIM_EXPORT int statfs64(const char* path, struct statfs64* buffer) noexcept {
  static_assert(sizeof(struct statfs) == sizeof(struct statfs64));
  return statfs(path, reinterpret_cast<struct statfs*>(buffer));
}

ORVSIM_EXPORT int fstatfs(int file, struct statfs* buffer) noexcept {
  const auto real = next<int (*)(int, struct statfs*)>("fstatfs64");
  return fill_statfs(real(file, buffer), path_of(file).c_str(), buffer);
}

ORVSIM_EXPORT int fstatfs64(int file, struct statfs64* buffer) noexcept {
  return fstatfs(file, reinterpret_cast<struct statfs*>(buffer));
}

ORVSIM_EXPORT int statvfs(const char* path, struct statvfs* buffer) noexcept {
  const auto real = next<int (*)(const char*, struct statvfs*)>("statvfs64");
  return fill_statvfs(real(path, buffer), path, buffer);
}

ORVSIM_EXPORT int statvfs64(const char* path, struct statvfs64* buffer) noexcept {
  static_assert(sizeof(struct statvfs) == sizeof(struct statvfs64));
  return statvfs(path, reinterpret_cast<struct statvfs*>(buffer));
}

ORVSIM_EXPORT int fstatvfs(int file, struct statvfs* buffer) noexcept {
  const auto real = next<int (*)(int, struct statvfs*)>("fstatvfs64");
  return fill_statvfs(real(file, buffer), path_of(file).c_str(), buffer);
}

ORVSIM_EXPORT int fstatvfs64(int file, struct statvfs64* buffer) noexcept {
  return fstatvfs(file, reinterpret_cast<struct statvfs*>(buffer));
}

ORVSIM_EXPORT int clock_gettime(clockid_t clock, timespec* time) noexcept {
  const int result = next<int (*)(clockid_t, timespec*)>("clock_gettime")(clock, time);
  if (result == 0 && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE)) {
    move_to_appliance(*time);
  }
  return result;
}

ORVSIM_EXPORT int gettimeofday(timeval* time, void*) noexcept {
  const timespec now = appliance_time();
  *time = {now.tv_sec, now.tv_nsec / 1000};
  return 0;
}

ORVSIM_EXPORT time_t time(time_t* seconds) noexcept {
  const time_t now = appliance_time().tv_sec;
  if (seconds != nullptr) *seconds = now;
  return now;
}

ORVSIM_EXPORT int settimeofday(const timeval* time, const struct timezone*) noexcept {
  return time == nullptr ? 0 : set_time(time->tv_sec, time->tv_usec * 1000);
}

ORVSIM_EXPORT int clock_settime(clockid_t clock, const timespec* time) noexcept {
  if (clock == CLOCK_REALTIME) return set_time(time->tv_sec, time->tv_nsec);
  return next<int (*)(clockid_t, const timespec*)>("clock_settime")(clock, time);
}
