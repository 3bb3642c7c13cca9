#ifndef ORV_SHARE_USER_PASSWORDS_H
#define ORV_SHARE_USER_PASSWORDS_H

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "common/secret_text.h"

namespace orv {

/// The passwords in the user file, as it was when the object was made.
class user_passwords {
 public:
  /// Nothing, with `errno`, when the file cannot be read.
  static std::optional<user_passwords> read();

  /// A user's password, NULL when there is none. Of two lines of a user the first counts, also when
  /// it has no password.
  const secret_text* find(std::string_view user) const;

 private:
  void take(std::string_view line);

  std::unordered_map<std::string, std::optional<secret_text>> passwords_;
};

}  // namespace orv

#endif
