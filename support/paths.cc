#include <orv/support.h>

const char* const orv_path_passwd_file = "/etc/passwd";
const char* const orv_path_shadow_file = "/etc/shadow";
