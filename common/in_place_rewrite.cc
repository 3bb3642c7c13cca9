#include "common/in_place_rewrite.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "common/companion.h"
#include "common/whole_file.h"

namespace orv {
namespace {

/// The beginning of a file, up to `size`; less when the file ends there or cannot be read.
secret_text beginning_of(int file, off_t size) {
  secret_text text(static_cast<std::size_t>(size), '\0');
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

/// When the old text is cut off. Before: what is stopped halfway is cut short, as its companion
/// tells. Behind: nothing is lost where nothing can be written; stopped halfway, both texts are
/// mixed.
enum class cut { before, behind };

bool overwrite(int file, off_t start, std::string_view text, cut order = cut::before) {
  if (lseek(file, start, SEEK_SET) < 0) return false;
  if (order == cut::before) return ftruncate(file, start) == 0 && write_whole(file, text);
  return write_whole(file, text) && ftruncate(file, start + static_cast<off_t>(text.size())) == 0;
}

bool is_open_for_writing(int file) {
  const int flags = fcntl(file, F_GETFL);
  return flags >= 0 && (flags & O_ACCMODE) != O_RDONLY;
}

/// Not known, too, where the file itself cannot be read.
companion::relation relation_of(int file, off_t size, const companion& beside,
                                secret_text& wanted) {
  const secret_text text = beginning_of(file, size);
  if (text.size() != static_cast<std::size_t>(size)) {
    errno = EIO;
    return companion::relation::unknown;
  }
  return beside.compare(text, wanted);
}

}  // namespace

bool rewrite_in_place(int file, off_t start, std::string_view text) {
  const cleared_stack stack;
  const companion beside(file);
  secret_text whole = beginning_of(file, start);
  const bool is_guarded = is_open_for_writing(file) &&
                          whole.size() == static_cast<std::size_t>(start) &&
                          beside.begin(whole.append(text));
  if (!is_guarded) beside.remove();
  const bool is_written = overwrite(file, start, text);
  const int reason = errno;
  // What is documented to stay cut short is not to be completed later.
  if (!is_written) beside.remove();
  if (is_written && is_guarded) beside.finish(file);
  errno = reason;
  return is_written;
}

bool replace_in_place(int file, std::string_view before, std::string_view text) {
  const cleared_stack stack;
  const companion beside(file);
  const bool is_guarded = beside.begin(text);
  if (!is_guarded) beside.remove();
  const cut order = is_guarded ? cut::before : cut::behind;
  const bool is_written = overwrite(file, 0, text, order);
  const int reason = errno;
  if (!is_written) {
    if (overwrite(file, 0, before, order)) {
      beside.remove();
    } else if (is_guarded) {
      overwrite(file, 0, "");  // cut short, and not a mixture
    }
  } else if (is_guarded) {
    beside.finish(file);
  }
  errno = reason;
  return is_written;
}

bool complete_rewrite(int file) {
  const cleared_stack stack;
  const int reason = errno;
  struct stat examined {};
  if (fstat(file, &examined) != 0) return false;
  const companion beside(examined);
  bool is_whole = true;
  if (beside.exists()) {
    secret_text wanted;
    switch (relation_of(file, examined.st_size, beside, wanted)) {
      case companion::relation::unknown:
        // There is none after all, or none that is needed.
        is_whole = errno == ENOENT || beside.is_finished() || beside.is_overtaken();
        break;
      case companion::relation::cut_short:
        // Whatever stops this now, the file is found begun, and completed by the next.
        is_whole = beside.begin_again() && overwrite(file, 0, wanted);
        if (is_whole) beside.finish(file);
        break;
      case companion::relation::changed:
        beside.remove();
        break;
      case companion::relation::same:
        if (!beside.is_finished()) beside.finish(file);
        break;
    }
  }
  if (!is_whole) return false;
  lseek(file, 0, SEEK_SET);
  errno = reason;
  return true;
}

}  // namespace orv
