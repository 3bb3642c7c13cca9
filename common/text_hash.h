#ifndef ORV_COMMON_TEXT_HASH_H
#define ORV_COMMON_TEXT_HASH_H

#include <cstdint>
#include <cstring>
#include <string_view>

namespace orv {

/// A number that tells short texts, such as names and paths, apart. They are taken eight bytes at a
/// time: the hash of the C++ library is a call, and takes as long as the search that it is for.
inline std::uint32_t text_hash(std::string_view text) {
  constexpr std::uint64_t spread = 0x9e3779b97f4a7c15;  // 2^64 divided by the golden ratio
  std::uint64_t hash = text.size();
  std::uint64_t part = 0;
  for (; text.size() >= sizeof part; text.remove_prefix(sizeof part)) {
    std::memcpy(&part, text.data(), sizeof part);
    hash = (hash ^ part) * spread;
    hash ^= hash >> 32;
  }
  part = 0;
  for (const char c : text) part = part << 8 | static_cast<unsigned char>(c);
  hash = (hash ^ part) * spread;
  // A product's upper half depends on all of its factors.
  hash = (hash ^ hash >> 32) * spread;
  return static_cast<std::uint32_t>(hash >> 32);
}

}  // namespace orv

#endif
