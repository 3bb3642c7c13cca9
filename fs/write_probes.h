#ifndef ORV_FS_WRITE_PROBES_H
#define ORV_FS_WRITE_PROBES_H

#include <orv/fs.h>

#include <cstdint>
#include <vector>

namespace orv {

/// Whether a file could be written in a file system.
enum class probe : uint8_t { not_made, written, failed };

/// Probes of the file systems of a list. They may be made before the file systems are measured,
/// while there is time: one takes little, but there may be hundreds. What was not probed then, or
/// was full, is probed when it is measured.
///
/// The list stays as long as the object, and the mount points of its records.
class write_probes {
 public:
  explicit write_probes(tag_fsinfo_list* list);
  write_probes(const write_probes&) = delete;
  write_probes& operator=(const write_probes&) = delete;

  void make() noexcept;
  /// As `get_usedsize_from_df`.
  void measure_file_systems() const;

 private:
  tag_fsinfo_list* list_;
  std::vector<probe> made_;
};

}  // namespace orv

#endif
