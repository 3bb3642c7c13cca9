#include "handles.h"

#include <algorithm>
#include <cerrno>
#include <vector>

namespace fuzz {

namespace {

constexpr int first_descriptor = 1000;
std::vector<handle> handles;

}  // namespace

handle* handle_of(int number) {
  const std::size_t index = static_cast<std::size_t>(number - first_descriptor);
  if (number >= first_descriptor && index < handles.size() && handles[index].is_open) {
    return &handles[index];
  }
  errno = EBADF;
  return nullptr;
}

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

std::size_t open_handles() {
  return static_cast<std::size_t>(std::count_if(handles.begin(), handles.end(),
                                                [](const handle& known) { return known.is_open; }));
}

}  // namespace fuzz

extern "C" int machine_close(int number) {
  fuzz::handle* const closed = fuzz::handle_of(number);
  if (closed == nullptr) return -1;
  *closed = fuzz::handle();
  return 0;
}
