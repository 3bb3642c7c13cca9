/// The share files of every service: read, written, and read again.

#include <algorithm>

#include "fuzz.h"
#include "share/read_line.h"
#include "share/share_lines.h"
#include "share_modes.h"

using fuzz::files;

namespace {

using share_list = fuzz::list<tag_shareconf_list>;

/// A line ends at these too, and when it is as long as lines get.
std::size_t most_lines(std::string_view text) {
  const auto ends = std::count_if(text.begin(), text.end(), [](char c) {
    return c == '\n' || c == '\0' || c == '\f' || c == orv::control_z;
  });
  return static_cast<std::size_t>(ends) + text.size() / orv::longest_share_line + 1;
}

int read_into(share_list& shares, const orv::share_mode& mode) {
  orv::locked_files locks;
  const int file = locks.lock(mode.path);
  EXPECT(file >= 0);
  const int result = mode.read(file, shares.get());
  shares.check(most_lines(*the_machine.text(mode.path)));
  return result;
}

int write(share_list& shares, const orv::share_mode& mode) {
  orv::locked_files locks;
  const int file = locks.lock(mode.path);
  EXPECT(file >= 0);
  const std::string before = *the_machine.text(mode.path);
  const int result = mode.write(file, shares.get());
  EXPECT(result == ORV_OK || result == ORV_E_SHARE_WRITE);
  // What cannot be written so that it is read again is not written.
  EXPECT(result == ORV_OK || *the_machine.text(mode.path) == before);
  return result;
}

}  // namespace

FUZZ_TARGET(share_files, in) {
  const orv::share_mode& mode = files[in.below(std::size(files))];
  const std::string head = mode.path == orv::smb_path ? "[global]\n" : "";
  the_machine.put("/etc/nas_userfile.conf", in.part());
  the_machine.put(mode.path, head + std::string(in.rest()));
  share_list shares;
  const int result = read_into(shares, mode);
  EXPECT(result == ORV_OK || result == ORV_E_SHARE_SYNTAX);
  if (write(shares, mode) != ORV_OK) return;
  EXPECT(the_machine.text(mode.path)->starts_with(head));

  // What was written is all read, and means the same from then on: in the file of the iSCSI target
  // from the next time on, where a name and the stamp that it got are cut together when they are
  // read.
  share_list again;
  EXPECT(read_into(again, mode) == ORV_OK);
  EXPECT(again.count() <= shares.count());
  EXPECT(write(again, mode) == ORV_OK);
  const std::string written = *the_machine.text(mode.path);
  share_list same;
  EXPECT(read_into(same, mode) == ORV_OK);
  EXPECT(same.count() == again.count());
  EXPECT(mode.path == orv::ietd_path ||
         fuzz::described(same.get()) == fuzz::described(again.get()));
  EXPECT(write(same, mode) == ORV_OK);
  EXPECT(*the_machine.text(mode.path) == written);
}
