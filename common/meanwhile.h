#ifndef ORV_COMMON_MEANWHILE_H
#define ORV_COMMON_MEANWHILE_H

#include <orv/support.h>

#include <utility>

// Weak: missing in a support library that stands in for ours.
#pragma weak orv_do_while_tool_runs

namespace orv {

/// Work that is done while the next tool runs that this thread starts. Without one it stays undone,
/// as it does from the moment on that the object goes out of scope.
///
///     const meanwhile counting([&]() noexcept { ... });
template <class Work>
class meanwhile {
 public:
  explicit meanwhile(Work work) : work_(std::move(work)) {
    static_assert(noexcept(work_()));
    give([](void* itself) { static_cast<meanwhile*>(itself)->work_(); }, this);
  }
  ~meanwhile() { give(nullptr, nullptr); }
  meanwhile(const meanwhile&) = delete;
  meanwhile& operator=(const meanwhile&) = delete;

 private:
  static void give(void (*work)(void*), void* context) {
    if (orv_do_while_tool_runs != nullptr) orv_do_while_tool_runs(work, context);
  }

  Work work_;
};

}  // namespace orv

#endif
