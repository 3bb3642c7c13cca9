#include <orv/user.h>

#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "common/log.h"
#include "common/whole_file.h"
#include "support/to_beginning.h"
#include "user/private_file.h"

namespace {

constexpr int failed = 1;

/// A backup that is there already is closed to everybody to whom the original is.
bool close_as(const struct stat& original, int backup) {
  struct stat present {};
  if (fstat(backup, &present) != 0) return false;
  const mode_t mode = present.st_mode & 07777U;
  const mode_t common = mode & (original.st_mode | S_IRUSR | S_IWUSR);
  return common == mode || fchmod(backup, common) == 0;
}

bool replace_content(FILE* file, const std::string& text) {
  return ftruncate(fileno(file), 0) == 0 &&
         std::fwrite(text.data(), 1, text.size(), file) == text.size();
}

}  // namespace

int create_backup(const char* path, FILE* stream) try {
  struct stat original {};
  std::string text;
  if (path == nullptr || stream == nullptr) {
    orv::log_missing_argument();
    return failed;
  }
  if (fstat(fileno(stream), &original) != 0) return failed;
  const orv::unique_file backup = orv::open_private(path);
  if (!backup || !close_as(original, fileno(backup.get()))) return failed;
  if (!orv::support::to_beginning(stream) || !orv::read_rest(stream, text) ||
      !replace_content(backup.get(), text)) {
    return failed;
  }
  const timespec times[] = {original.st_atim, original.st_mtim};
  return futimens(fileno(backup.get()), times) == 0 ? 0 : failed;
} catch (const std::bad_alloc&) {
  orv::without_memory();
  return failed;
}
