#include "bench/watch.h"

#include <dlfcn.h>
#include <orv/support.h>
#include <sys/stat.h>

#include <cstdarg>
#include <cstdio>

#define INTERPOSED __attribute__((visibility("default")))

namespace {

bench::watched* watched_now = nullptr;

template <class Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

void count_open(const char* path) {
  if (watched_now != nullptr) ++watched_now->opens[path];
}

void count_sync(int file) {
  struct stat examined {};
  if (watched_now == nullptr || fstat(file, &examined) != 0) return;
  ++(S_ISDIR(examined.st_mode) ? watched_now->directory_syncs : watched_now->file_syncs);
}

}  // namespace

namespace bench {

watch::watch() { watched_now = &seen_; }
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
  count_open(path);
  return real(path, flags, mode);
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
