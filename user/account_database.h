#ifndef ORV_USER_ACCOUNT_DATABASE_H
#define ORV_USER_ACCOUNT_DATABASE_H

#include <pwd.h>
#include <sys/types.h>

#include <cstdio>
#include <string>
#include <vector>

namespace orv {

// The C library's account database, asked in the ways that keep nothing between threads: an answer
// that another thread could change would be another user's.

bool has_user(const std::string& name);
bool has_group(const std::string& name);
bool has_group(gid_t number);

/// The entries of an open file of the form of the password file.
class password_entries {
 public:
  explicit password_entries(FILE* file) : file_(file), texts_(1024) {}

  /// @return the next entry, which lives until the next call; NULL behind the last, or when the
  ///         file cannot be read
  const passwd* next();

 private:
  FILE* file_;
  passwd entry_{};
  std::vector<char> texts_;
};

}  // namespace orv

#endif
