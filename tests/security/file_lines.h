/// The lines of configuration files, by what they are.
#pragma once

#include <map>
#include <string>

namespace security {

/// How many lines of each kind a file has: "[" for the head of a section, the key of a "key =
/// value" line, the word that a line of the iSCSI target begins with, "*" for any other.
std::map<std::string, int> lines_of(const std::string& path);

/// The same of a text that the file might have.
std::map<std::string, int> lines_in(const std::string& text, const std::string& path);

/// The characters of a text that separate users.
int separators_in(const std::string& text);

}  // namespace security
