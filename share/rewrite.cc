#include "share/rewrite.h"

#include <orv/support.h>
#include <unistd.h>

#include <cerrno>

#include "common/families.h"
#include "common/log.h"
#include "common/text.h"
#include "share/share_lines.h"

namespace orv {
namespace {

bool is_readable(std::string_view text) {
  while (!text.empty()) {
    if (before(text, "\n").size() > longest_share_line) return false;
    text = after(text, '\n');
  }
  return true;
}

bool write_all(int file, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(file, text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

}  // namespace

std::string text_of_shares(tag_shareconf_list* list, const append_share_form& append_share) {
  std::string text;
  for (const tag_share_config& share : records(list)) append_share(text, share);
  return text;
}

int rewrite_from(int file, off_t start, const std::string& text, const char* committed) {
  if (!is_readable(text)) {
    errno = EMSGSIZE;
    return ORV_E_SHARE_WRITE;
  }
  if (lseek(file, start, SEEK_SET) < 0 || ftruncate(file, start) != 0 || !write_all(file, text)) {
    return ORV_E_SHARE_WRITE;
  }
  const int reason = errno;  // a change that goes on after a failure tells its reason at its end
  conf_save(committed);
  errno = reason;
  return ORV_OK;
}

int rewrite(int file, tag_shareconf_list* list, const append_share_form& append_share,
            const char* committed, const char* function, int line) {
  if (list == nullptr) return log_missing_argument(function, line);
  return rewrite_from(file, 0, text_of_shares(list, append_share), committed);
}

}  // namespace orv
