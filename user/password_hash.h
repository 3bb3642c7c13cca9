#ifndef ORV_USER_PASSWORD_HASH_H
#define ORV_USER_PASSWORD_HASH_H

#include <string>

namespace orv {

/// The MD5-crypt hash of a password with a fresh salt; empty when the C library made none.
std::string password_hash(const char* password);

/// True when a password has this hash. What is no hash, as of a locked account, matches nothing.
bool has_hash(const char* password, const std::string& hash);

}  // namespace orv

#endif
