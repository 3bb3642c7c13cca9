#include "share/rewrite.h"

#include <fcntl.h>
#include <orv/support.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "common/families.h"
#include "common/handles.h"
#include "common/in_place_rewrite.h"
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

/// A file that was empty may have been made just now: its name is to outlive a power cut, too.
void keep_name(const struct stat& before, const char* path) {
  if (before.st_size != 0) return;
  const std::string file(path);
  const std::string directory = file.substr(0, file.rfind('/') + 1);
  const unique_descriptor opened(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  fsync(opened.get());
}

}  // namespace

secret_text text_of_shares(tag_shareconf_list* list, const append_share_form& append_share) {
  secret_text text;
  for (const tag_share_config& share : records(list)) append_share(text, share);
  return text;
}

int rewrite_from(int file, off_t start, std::string_view text, const char* committed) {
  if (!is_readable(text)) {
    errno = EMSGSIZE;
    return ORV_E_SHARE_WRITE;
  }
  const int reason = errno;  // a change that goes on after a failure tells its reason at its end
  struct stat before {};
  const bool is_examined = fstat(file, &before) == 0;
  if (!rewrite_in_place(file, start, text)) return ORV_E_SHARE_WRITE;
  if (is_examined) keep_name(before, committed);
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
