#include "tests/user/bent_accounts.h"

#include <dlfcn.h>
#include <grp.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <utility>

#include "tests/sandbox/libc.h"

namespace {

bool crypt_is_bent = false;
const char* bent_answer = nullptr;
void (*fchmod_action)() = nullptr;
std::vector<gid_t> looked_up;
std::string salt;

// The seed of the salts, followed from the start of the process.
uint32_t seed = 0;

constexpr clock_t processor_time = 123456789;

char character(uint32_t value) {
  if (value < 2) return value == 0 ? '.' : '/';
  if (value < 12) return static_cast<char>('0' + (value - 2));
  if (value < 38) return static_cast<char>('A' + (value - 12));
  return static_cast<char>('a' + (value - 38));
}

template <class Function>
Function* real(Function*, const char* symbol) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, symbol));
}

}  // namespace

namespace bent {

crypt_answer::crypt_answer(const char* answer) {
  crypt_is_bent = true;
  bent_answer = answer;
}

crypt_answer::~crypt_answer() { crypt_is_bent = false; }

void before_next_fchmod(void (*action)()) { fchmod_action = action; }

std::vector<gid_t> take_looked_up_groups() { return std::exchange(looked_up, {}); }

std::string take_salt() { return std::exchange(salt, {}); }

}  // namespace bent

// As in the sandbox, a label keeps these clear of the C library's own declarations.
#define DEFINE(result, symbol, ...)                                                                \
  extern "C" __attribute__((visibility("default"))) result own_##symbol(__VA_ARGS__) asm(#symbol); \
  extern "C" result own_##symbol(__VA_ARGS__)

DEFINE(char*, crypt_r, const char* password, const char* setting, void* room) {
  if (!crypt_is_bent) return real(own_crypt_r, "crypt_r")(password, setting, room);
  errno = EINVAL;
  return const_cast<char*>(bent_answer);
}

DEFINE(int, fchmod, int file, mode_t mode) {
  if (fchmod_action != nullptr) std::exchange(fchmod_action, nullptr)();
  if (sandbox::libc::fails("fchmod")) return -1;
  return real(own_fchmod, "fchmod")(file, mode);
}

DEFINE(int, getgrgid_r, gid_t number, group* room, char* texts, std::size_t size, group** found) {
  looked_up.push_back(number);
  return real(own_getgrgid_r, "getgrgid_r")(number, room, texts, size, found);
}

DEFINE(clock_t, clock) {
  seed += static_cast<uint32_t>(std::time(nullptr)) + static_cast<uint32_t>(::getpid()) +
          static_cast<uint32_t>(processor_time);
  salt += character(((seed >> 6) ^ (seed >> 18)) & 63);
  salt += character(((seed >> 12) ^ seed) & 63);
  return processor_time;
}
