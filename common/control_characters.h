#ifndef ORV_COMMON_CONTROL_CHARACTERS_H
#define ORV_COMMON_CONTROL_CHARACTERS_H

namespace orv {

/// True for an ASCII control character, such as a line end or a tab. Files of lines get none from a
/// value, but for the tab where it is a blank.
inline bool is_control(char c) {
  const unsigned char value = static_cast<unsigned char>(c);
  return value < ' ' || value == 0x7f;
}

}  // namespace orv

#endif
