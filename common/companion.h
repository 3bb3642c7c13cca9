#ifndef ORV_COMMON_COMPANION_H
#define ORV_COMMON_COMPANION_H

#include <sys/stat.h>

#include <compare>
#include <optional>
#include <string>
#include <string_view>

#include "common/handles.h"
#include "common/secret_text.h"

namespace orv {

/// What makes a file whole again that a kill or a power cut left half rewritten.
///
/// A share file is locked by its inode and so cannot be replaced by a new file: it is cut short and
/// written again. So is the user file, which may be a link to another disk. The whole new text
/// therefore stands beside it, on the disk, before it is touched:
///
///     begin   the text goes to a file of its own, which is synced, renamed to the companion's name
///             and synced with its directory: the one file sync and the one directory sync
///     ...     the share file is rewritten in place, without a sync
///     finish  a symbolic link beside the companion says so, and when the share file changed last
///     ...     `conf_save` finds the same text in file and companion: the file is on the disk as
///             its companion and needs no sync, and the kept copy is another link to the
///             companion, put in the place of the older one in one step
///
/// Who locks the file next puts the companion's text into it when the rewrite was cut short; who
/// only reads it, and does not lock, reads the companion's text instead. The companion stays until
/// the next rewrite takes its place. There is no way to tell when the kernel has the file itself on
/// the disk, and none is needed.
///
/// A file is never changed back after somebody else's change, which is told by the time of the
/// file's last change of any kind (`st_ctim`, which nobody can set):
///
///     finished, not changed since      a text that differs was lost in a power cut: it is
///                                      rewritten
///     finished, changed since          somebody else's: it stays, and the companion goes
///     finished, changed before that    lost likewise; but somebody else's when the machine has not
///                                      been started anew: the clock went back
///     begun, not changed since         it is rewritten
///     begun, cut short or with holes,  it is rewritten
///       changed within a minute
///     begun, changed otherwise         somebody else's: it stays, and the companion goes
///
/// Without room for a companion a file is rewritten without one, and committed as any other file.
class companion {
 public:
  /// Of an open file.
  explicit companion(int file);
  /// Of a file that was examined before it was read.
  explicit companion(const struct stat& file);

  /// True, too, when that cannot be told; false for who may not look.
  bool exists() const;
  const std::string& path() const { return path_; }

  /// Brings the new text of the file to the disk; false when that could not be done.
  bool begin(std::string_view text) const;
  /// Its rewrite was finished since the machine was started.
  bool is_finished() const;
  /// Somebody else has changed the file since its rewrite was finished.
  bool is_overtaken() const;
  /// The file has its new text.
  void finish(int file) const;
  /// The file is to be rewritten from its companion: as begun just now, on the disk too. False,
  /// with `errno`, when that cannot be noted.
  bool begin_again() const;
  void remove() const;

  /// What the file's text is beside the companion's: the same, a part that a kill or a power cut
  /// left of it, or a change by somebody else; not known, with `errno`, where the companion cannot
  /// be read.
  enum class relation { same, cut_short, changed, unknown };
  /// @param wanted  the companion's text
  relation compare(std::string_view text, secret_text& wanted) const;

 private:
  std::string mark_path() const;
  /// How the file's last change compares with the end of its rewrite: before it, of the same time,
  /// or after it, as always when somebody wrote to the companion, and when the clock went back in
  /// the same run of the machine. Nothing while it is not finished.
  std::optional<std::strong_ordering> change_after_finish(const struct stat& own) const;
  bool is_cut_short(const struct stat& own, std::string_view text, std::string_view wanted) const;

  struct stat file_ {};
  std::string path_;
};

/// Opens such a file for reading without locking it: its companion when the file's own text is just
/// being rewritten, or was cut short. Who reads the file while another rewrite begins may see it
/// cut short. NULL with `errno`, as when the file cannot be opened, when it may have been cut short
/// and that cannot be told; never with ENOENT then.
unique_file open_whole(const char* path);

}  // namespace orv

#endif
