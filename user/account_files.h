#ifndef ORV_USER_ACCOUNT_FILES_H
#define ORV_USER_ACCOUNT_FILES_H

namespace orv {

inline constexpr char user_file_path[] = "/etc/nas_userfile.conf";
/// Of the changes of the user file.
inline constexpr char user_file_lock[] = "nas_userfile.conf";

/// Commits the files that a user is kept in, unless that is held back: the user file last, and only
/// when it was rewritten. One that could not be may be cut short until somebody reads it.
void save_account_files(bool is_user_file_rewritten);

/// Holds `save_account_files` back while it exists.
class saving_held_back {
 public:
  saving_held_back();
  ~saving_held_back();
  saving_held_back(const saving_held_back&) = delete;
  saving_held_back& operator=(const saving_held_back&) = delete;
};

}  // namespace orv

#endif
