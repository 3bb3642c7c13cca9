/// What the libraries export, from the committed lists and the public headers.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

namespace security {

/// The lines of both lists of symbols: "share_del(char const*, char const*)".
std::vector<std::string> exported_functions();

/// The parameters of such a line: "char const*", "tag_share_config*".
std::vector<std::string> parameters_in(const std::string& signature);

/// The text fields of every record of the public headers, by the record's name; those of records
/// within it too, as "smart.health".
std::map<std::string, std::set<std::string>> text_fields_of_records();

}  // namespace security
