// A program of somebody else: it uses both libraries, and asks the machine nothing but its kernel's
// version and mounts.
#include <orv.h>

#include <cstdio>
#include <cstring>

int main() {
  tag_fsinfo_list list;
  fs_list_init(&list);
  const bool empty = list.list.next == &list.list;
  const bool works = empty && fs_list_fini(&list) == 0 && get_linux_version() > 2006000 &&
                     std::strcmp(orv_strerror(ORV_OK), "success") == 0 &&
                     mount_check("/no/such/mount/point") == ORV_E_FAILED;
  std::puts(works ? "the installed package works" : "the installed package does not work");
  return works ? 0 : 1;
}
