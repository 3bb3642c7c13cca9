#include "bench/watch.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <orv/support.h>
#include <sys/stat.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

#define INTERPOSED __attribute__((visibility("default")))

namespace {

bench::watched* watched_now = nullptr;
std::map<int, std::string> paths_of_descriptors;  // as they were opened last

template <class Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// A child that shares this process's memory may find the lock of the dynamic linker taken.
auto* const real_execve = next<int(const char*, char* const[], char* const[])>("execve");

void count_open(const char* path) {
  if (watched_now != nullptr) ++watched_now->opens[path];
}

void count_sync(int file) {
  struct stat examined {};
  if (watched_now == nullptr || fstat(file, &examined) != 0) return;
  ++(S_ISDIR(examined.st_mode) ? watched_now->directory_syncs : watched_now->file_syncs);
}

void count_rewrite(int file) {
  if (watched_now == nullptr) return;
  const auto known = paths_of_descriptors.find(file);
  if (known != paths_of_descriptors.end()) ++watched_now->rewrites[known->second];
}

void count_process() {
  if (watched_now != nullptr) ++watched_now->processes;
}

}  // namespace

namespace bench {

watch::watch() {
  paths_of_descriptors.clear();
  watched_now = &seen_;
}
watch::~watch() { watched_now = nullptr; }

}  // namespace bench

INTERPOSED int liborv_system(const char* cmd) {
  static auto* const real = next<int(const char*)>("_Z13liborv_systemPKc");
  if (watched_now != nullptr) watched_now->commands.emplace_back(cmd);
  return real(cmd);
}

extern "C" {

INTERPOSED FILE* fopen64(const char* path, const char* mode) {
  static auto* const real = next<FILE*(const char*, const char*)>("fopen64");
  count_open(path);
  return real(path, mode);
}

INTERPOSED int open64(const char* path, int flags, ...) {
  static auto* const real = next<int(const char*, int, mode_t)>("open64");
  va_list values;
  va_start(values, flags);
  const mode_t mode = va_arg(values, mode_t);
  va_end(values);
  const int file = real(path, flags, mode);
  // What is not closed on exec(2) is opened in a tool's process, which shares this one's memory.
  if (watched_now == nullptr || (flags & O_CLOEXEC) == 0) return file;
  count_open(path);
  if (file >= 0) paths_of_descriptors[file] = path;
  return file;
}

INTERPOSED DIR* opendir(const char* path) {
  static auto* const real = next<DIR*(const char*)>("opendir");
  count_open(path);
  return real(path);
}

INTERPOSED int ftruncate64(int file, off64_t size) noexcept {
  static auto* const real = next<int(int, off64_t)>("ftruncate64");
  count_rewrite(file);
  return real(file, size);
}

// In a child that shares this process's memory.
INTERPOSED int execve(const char* program, char* const arguments[],
                      char* const variables[]) noexcept {
  count_process();
  return real_execve(program, arguments, variables);
}

INTERPOSED int system(const char* command) {
  static auto* const real = next<int(const char*)>("system");
  count_process();
  return real(command);
}

INTERPOSED int fsync(int file) {
  static auto* const real = next<int(int)>("fsync");
  count_sync(file);
  return real(file);
}

INTERPOSED int fdatasync(int file) {
  static auto* const real = next<int(int)>("fdatasync");
  count_sync(file);
  return real(file);
}

}  // extern "C"
