#include "share/rewrite.h"

#include <fcntl.h>
#include <orv/support.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "common/families.h"
#include "common/handles.h"
#include "common/log.h"
#include "common/text.h"
#include "common/whole_file.h"
#include "share/companion.h"
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

/// The beginning of a file, up to `size`; less when the file ends there or cannot be read.
std::string beginning_of(int file, off_t size) {
  std::string text(static_cast<std::size_t>(size), '\0');
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t got =
        pread(file, text.data() + done, text.size() - done, static_cast<off_t>(done));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    done += static_cast<std::size_t>(got);
  }
  text.resize(done);
  return text;
}

bool overwrite(int file, off_t start, std::string_view text) {
  return lseek(file, start, SEEK_SET) >= 0 && ftruncate(file, start) == 0 &&
         write_whole(file, text);
}

/// A file that was empty may have been made just now: its name is to outlive a power cut, too.
void keep_name(const struct stat& before, const char* path) {
  if (before.st_size != 0) return;
  const std::string file(path);
  const std::string directory = file.substr(0, file.rfind('/') + 1);
  const unique_descriptor opened(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (opened) fsync(opened.get());
}

bool is_open_for_writing(int file) {
  const int flags = fcntl(file, F_GETFL);
  return flags >= 0 && (flags & O_ACCMODE) != O_RDONLY;
}

/// Rewrites a file under the guard of its companion. A text that cannot be written leaves the file
/// cut short, as documented, and without a companion that would complete it later.
bool rewrite_whole(int file, off_t start, std::string_view text) {
  const companion beside(file);
  const std::string kept = beginning_of(file, start);
  const bool is_guarded = is_open_for_writing(file) &&
                          kept.size() == static_cast<std::size_t>(start) &&
                          beside.begin(kept + std::string(text));
  if (!is_guarded) beside.remove();
  const bool is_written = overwrite(file, start, text);
  const int reason = errno;
  if (!is_written) beside.remove();
  if (is_written && is_guarded) beside.finish(file);
  errno = reason;
  return is_written;
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
  const int reason = errno;  // a change that goes on after a failure tells its reason at its end
  struct stat before {};
  const bool is_examined = fstat(file, &before) == 0;
  if (!rewrite_whole(file, start, text)) return ORV_E_SHARE_WRITE;
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

void complete_rewrite(int file) {
  const int reason = errno;
  const companion beside(file);
  struct stat examined {};
  if (beside.exists() && fstat(file, &examined) == 0) {
    const std::string text = beginning_of(file, examined.st_size);
    if (const auto missing = beside.missing_text(text)) {
      if (!beside.begin(*missing)) beside.begin_again();
      if (overwrite(file, 0, *missing)) beside.finish(file);
    } else if (beside.differs(text)) {
      beside.remove();
    }
    lseek(file, 0, SEEK_SET);
  }
  errno = reason;
}

}  // namespace orv
