#ifndef ORV_LVM_POOL_READER_H
#define ORV_LVM_POOL_READER_H

#include <orv/lvm.h>

#include <optional>
#include <string>

#include "common/captured_output.h"
#include "common/families.h"
#include "common/line_reader.h"
#include "common/record_index.h"

namespace orv {

/// Reads the pools one by one, as `lvdisplay -c` lists them: whoever completes records of his own
/// needs no list of them.
class pool_reader {
 public:
  /// Runs the tools.
  pool_reader();

  /// ORV_OK; ORV_E_LVDISPLAY_TOOL when the tool failed, and what it has listed can be read all the
  /// same; ORV_E_LVDISPLAY when nothing can be read.
  int result() const { return result_; }

  /// Moves to the next pool; false behind the last one, and where no more can be read, which the
  /// result tells.
  bool next();
  /// Fills in the pool that `next` moved to; the record is a cleared one.
  void fill(tag_pool_info& pool) const;

 private:
  void fail();

  captured_output output_{"/tmp/lvdisplay.XXXXXX"};
  int result_ = ORV_OK;
  scoped_list<tag_vginfo_list> groups_;
  std::optional<record_index<tag_vginfo_list>> known_;
  unique_file file_;
  std::optional<line_reader> lines_;
  const char* line_ = nullptr;
  std::string path_;
};

}  // namespace orv

#endif
