#include "user/account_database.h"

#include <grp.h>

#include <cerrno>

namespace orv {
namespace {

/// Calls a function that wants room for the texts of an entry, with as much as it takes.
template <class Ask>
bool found_with(std::vector<char>& texts, Ask ask) {
  int result = ask();
  while (result == ERANGE) {
    texts.resize(2 * texts.size());
    result = ask();
  }
  return result == 0;
}

template <class Entry, class Key>
bool has_entry(int (*get)(Key, Entry*, char*, std::size_t, Entry**), Key key) {
  std::vector<char> texts(1024);
  Entry entry{};
  Entry* found = nullptr;
  return found_with(texts, [&] { return get(key, &entry, texts.data(), texts.size(), &found); }) &&
         found != nullptr;
}

}  // namespace

bool has_user(const std::string& name) { return has_entry(getpwnam_r, name.c_str()); }

bool has_group(const std::string& name) { return has_entry(getgrnam_r, name.c_str()); }

bool has_group(gid_t number) { return has_entry(getgrgid_r, number); }

const passwd* password_entries::next() {
  passwd* found = nullptr;
  const bool is_found = found_with(
      texts_, [&] { return fgetpwent_r(file_, &entry_, texts_.data(), texts_.size(), &found); });
  return is_found ? found : nullptr;
}

}  // namespace orv
