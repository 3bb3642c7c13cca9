/// What a core of a process would hold of a password.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace security {

/// Takes a password, and has wiped when it returns what is its own.
using password_call = std::function<int(char* password)>;

/// What a call left behind.
struct traces {
  int result;                       ///< of the call
  std::vector<std::string> places;  ///< "MAPPING: WHAT STANDS THERE" for each part of the password
};

/// Makes the call in a child, with a password of so many characters that no other memory has, and
/// searches the memory of the child when that has wiped the password.
traces traces_of(const password_call& call, std::size_t size);

/// Copies a text byte by byte, and gives its end: the C library's functions would leave a password
/// in the wide registers, and the caller is not what is tested.
char* copy(char* to, const char* text);

}  // namespace security
