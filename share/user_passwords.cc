#include "share/user_passwords.h"

#include <orv/share.h>

#include <cstdio>

#include "common/companion.h"
#include "common/handles.h"
#include "common/line_reader.h"
#include "common/log.h"
#include "common/text.h"
#include "common/whole_file.h"

namespace orv {

std::optional<user_passwords> user_passwords::read() {
  const unique_file file = without_buffer(open_whole("/etc/nas_userfile.conf"));
  if (!file) return std::nullopt;
  user_passwords known;
  line_reader lines(file.get());
  while (lines.next()) known.take(trimmed(lines.line()));
  if (lines.failed()) return std::nullopt;
  return known;
}

/// A line is "NAME||PASSWORD".
void user_passwords::take(std::string_view line) {
  if (line.empty()) return;
  const std::string_view behind_name = after(line, '|');
  std::optional<secret_text> password;
  if (behind_name.find('|') != std::string_view::npos) {
    password.emplace(after_last(behind_name, '|'));
  }
  passwords_.try_emplace(std::string(before(line, "|")), std::move(password));
}

const secret_text* user_passwords::find(std::string_view user) const {
  const auto found = passwords_.find(std::string(user));
  return found == passwords_.end() || !found->second ? nullptr : &*found->second;
}

}  // namespace orv

int get_pwd_from_conf(const char* user, char* out, int outlen) try {
  const orv::cleared_stack stack;
  if (user == nullptr || out == nullptr) return orv::log_missing_argument();
  const auto known = orv::user_passwords::read();
  if (!known) return orv::log_failure(ORV_E_PASSWORDS);
  const orv::secret_text* const password = known->find(user);
  if (password != nullptr) orv::copy_text(out, outlen, *password);
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
