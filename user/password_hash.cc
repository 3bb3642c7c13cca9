#include "user/password_hash.h"

#include <crypt.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <ctime>
#include <memory>

#include "common/secret_text.h"

namespace orv {
namespace {

constexpr std::size_t longest_hash = 127;

/// A hash made by the system's crypt library; empty when it failed. Some versions report a failure
/// with NULL, others with a text that begins with "*", as no hash does. The room for it is the
/// call's own: a thread that checks a password must not read the hash that another one has made.
std::string crypted(const char* password, const std::string& setting) {
  const auto room = std::make_unique<crypt_data>();
  const cleared_at_end cleared(*room);
  const char* const hash = crypt_r(password, setting.c_str(), room.get());
  return hash == nullptr || *hash == '*' ? std::string() : std::string(hash);
}

char salt_character(uint32_t number) {
  constexpr char characters[] = "./0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
  return characters[number & 63];
}

void append_salt_pair(std::string& salt) {
  static std::atomic<uint32_t> kept = 0;
  const uint32_t added = static_cast<uint32_t>(std::time(nullptr)) +
                         static_cast<uint32_t>(getpid()) + static_cast<uint32_t>(std::clock());
  const uint32_t seed = kept.fetch_add(added) + added;
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

std::string password_hash(const char* password) {
  return crypted(password, md5_salt()).substr(0, longest_hash);
}

bool has_hash(const char* password, const std::string& hash) {
  const std::string made = crypted(password, hash);
  return !made.empty() && made == hash;
}

}  // namespace orv
