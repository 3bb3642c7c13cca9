#ifndef ORV_TESTS_SYSTEM_NO_MORE_DESCRIPTORS_H
#define ORV_TESTS_SYSTEM_NO_MORE_DESCRIPTORS_H

#include <sys/resource.h>

/// While it exists, this process can open nothing more.
class no_more_descriptors {
 public:
  no_more_descriptors() {
    getrlimit(RLIMIT_NOFILE, &before_);
    rlimit none = before_;
    none.rlim_cur = 0;
    setrlimit(RLIMIT_NOFILE, &none);
  }
  ~no_more_descriptors() { setrlimit(RLIMIT_NOFILE, &before_); }
  no_more_descriptors(const no_more_descriptors&) = delete;
  no_more_descriptors& operator=(const no_more_descriptors&) = delete;

 private:
  rlimit before_{};
};

#endif
