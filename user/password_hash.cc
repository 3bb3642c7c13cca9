#include "user/password_hash.h"

#include <crypt.h>
#include <unistd.h>

#include <cstdint>
#include <ctime>

namespace orv {
namespace {

constexpr std::size_t longest_hash = 127;

/// A hash made by the system's crypt library; empty when it failed. Some versions report a failure
/// with NULL, others with a text that begins with "*", as no hash does.
std::string crypted(const std::string& password, const std::string& setting) {
  const char* const hash = crypt(password.c_str(), setting.c_str());
  return hash == nullptr || *hash == '*' ? std::string() : std::string(hash);
}

char salt_character(uint32_t number) {
  constexpr char characters[] = "./0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
  return characters[number & 63];
}

void append_salt_pair(std::string& salt) {
  static uint32_t seed = 0;
  seed += static_cast<uint32_t>(std::time(nullptr)) + static_cast<uint32_t>(getpid()) +
          static_cast<uint32_t>(std::clock());
  salt += salt_character((seed >> 6) ^ (seed >> 18));
  salt += salt_character((seed >> 12) ^ seed);
}

std::string md5_salt() {
  constexpr int pairs = 4;
  std::string salt = "$1$";
  for (int pair = 0; pair < pairs; ++pair) append_salt_pair(salt);
  return salt;
}

}  // namespace

std::string password_hash(const std::string& password) {
  return crypted(password, md5_salt()).substr(0, longest_hash);
}

bool has_hash(const std::string& password, const std::string& hash) {
  const std::string made = crypted(password, hash);
  return !made.empty() && made == hash;
}

}  // namespace orv
