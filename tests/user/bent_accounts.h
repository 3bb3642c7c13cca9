#ifndef ORV_TESTS_USER_BENT_ACCOUNTS_H
#define ORV_TESTS_USER_BENT_ACCOUNTS_H

#include <sys/types.h>

#include <string>
#include <vector>

/// Functions of the C library that hash passwords and know accounts, as far as a test bends them or
/// wants to know how they were called.
namespace bent {

/// While it exists, `crypt_r` gives this answer: NULL, or the text that stands for a failure.
class crypt_answer {
 public:
  explicit crypt_answer(const char* answer);
  ~crypt_answer();
  crypt_answer(const crypt_answer&) = delete;
  crypt_answer& operator=(const crypt_answer&) = delete;
};

/// Called once, before the next `fchmod`.
void before_next_fchmod(void (*action)());

/// The group numbers that were looked up since the last call of this function.
std::vector<gid_t> take_looked_up_groups();

/// The pairs of salt characters that were due since the last call of this function, one for each
/// reading of the processor clock.
std::string take_salt();

}  // namespace bent

#endif
