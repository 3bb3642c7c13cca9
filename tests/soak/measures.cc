#include "tests/soak/measures.h"

#include <fcntl.h>
#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

// AddressSanitizer has a heap of its own.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes() __attribute__((weak));

namespace soak {
namespace {

std::size_t allocated() {
  if (__sanitizer_get_current_allocated_bytes != nullptr) {
    return __sanitizer_get_current_allocated_bytes();
  }
  const struct mallinfo2 heap = mallinfo2();
  return heap.uordblks + heap.hblkhd;
}

/// The sanitizer keeps for a while what was released.
std::size_t resident() {
  if (__sanitizer_get_current_allocated_bytes != nullptr) return 0;
  std::size_t size = 0;
  std::size_t pages = 0;
  std::ifstream("/proc/self/statm") >> size >> pages;
  return pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

int threads() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("Threads:")) return std::stoi(line.substr(8));
  }
  return 0;
}

std::vector<int> descriptors() {
  std::vector<int> open;
  for (int number = 0; number < 1024; ++number) {
    if (fcntl(number, F_GETFD) >= 0) open.push_back(number);
  }
  return open;
}

bool has_children() {
  siginfo_t child{};
  return waitid(P_ALL, 0, &child, WEXITED | WNOHANG | WNOWAIT) == 0;
}

std::vector<std::string> temporary() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator("/tmp")) {
    names.push_back(entry.path().filename());
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace

measures measure() {
  const std::size_t bytes = allocated();  // before the measures themselves take some
  return {bytes, resident(), descriptors(), threads(), has_children(), temporary()};
}

std::string text_of(const measures& found) {
  std::ostringstream text;
  text << found.allocated << " bytes allocated, " << found.resident / 1024 << " KiB resident, "
       << found.descriptors.size() << " descriptors, " << found.threads << " threads, "
       << found.temporary.size() << " files in /tmp";
  return text.str();
}

}  // namespace soak
