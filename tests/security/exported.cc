#include "tests/security/exported.h"

#include <fcntl.h>
#include <unistd.h>

#include <regex>
#include <sstream>

#include "tests/sandbox/jail.h"
#include "tests/sandbox/programs/records.h"

namespace security {
namespace {

std::string source(const std::string& path) {
  const int file = sandbox::open_on_host(std::string(ORV_SOURCE_DIR "/") + path, O_RDONLY);
  std::string text = sandbox::rest_of_file(file);
  close(file);
  return text;
}

constexpr const char* headers[] = {"alarm",   "disk",  "fs",      "lvm",    "network", "raid",
                                   "service", "share", "support", "system", "user"};

using fields = std::set<std::string>;

/// The record that a field is: "tag_disksmart_info" of a "tag_disksmart_list".
std::string record_of_type(std::string type, const std::map<std::string, std::string>& lists) {
  const auto found = lists.find(type);
  return found == lists.end() ? type : found->second;
}

struct declared {
  std::map<std::string, std::string> bodies;  // of records
  std::map<std::string, std::string> lists;   // record of a list type
};

declared declarations() {
  static const std::regex record_form(R"(struct (tag_\w+) \{([^}]*)\};)");
  static const std::regex list_form(R"(struct (tag_\w+) : (tag_\w+) \{\};)");
  declared all;
  for (const char* const header : headers) {
    const std::string text = source(std::string("include/orv/") + header + ".h");
    const auto end = std::sregex_iterator();
    for (auto at = std::sregex_iterator(text.begin(), text.end(), record_form); at != end; ++at) {
      all.bodies[(*at)[1]] = (*at)[2];
    }
    for (auto at = std::sregex_iterator(text.begin(), text.end(), list_form); at != end; ++at) {
      all.lists[(*at)[1]] = (*at)[2];
    }
  }
  return all;
}

fields fields_in(const std::string& record, const declared& all) {
  static const std::regex text_form(R"(\n\s*char (\w+)\[\d+\];)");
  static const std::regex inner_form(R"(\n\s*(tag_\w+) (\w+);)");
  fields found;
  const std::string& body = all.bodies.at(record);
  const auto end = std::sregex_iterator();
  for (auto at = std::sregex_iterator(body.begin(), body.end(), text_form); at != end; ++at) {
    found.insert((*at)[1]);
  }
  for (auto at = std::sregex_iterator(body.begin(), body.end(), inner_form); at != end; ++at) {
    for (const std::string& inner : fields_in(record_of_type((*at)[1], all.lists), all)) {
      found.insert((*at)[2].str() + '.' + inner);
    }
  }
  return found;
}

}  // namespace

std::vector<std::string> exported_functions() {
  std::istringstream lines(source("common/orvmgmt.symbols") + source("support/orvsupport.symbols"));
  std::vector<std::string> all;
  for (std::string line; std::getline(lines, line);) {
    if (line.find('(') != std::string::npos) all.push_back(line);
  }
  return all;
}

std::vector<std::string> parameters_in(const std::string& signature) {
  const std::size_t start = signature.find('(') + 1;
  std::istringstream parts(signature.substr(start, signature.size() - 1 - start));
  std::vector<std::string> all;
  for (std::string part; std::getline(parts, part, ',');) {
    all.push_back(part.starts_with(' ') ? part.substr(1) : part);
  }
  return all;
}

std::map<std::string, std::set<std::string>> text_fields_of_records() {
  const declared all = declarations();
  std::map<std::string, fields> found;
  for (const auto& [record, body] : all.bodies) found[record] = fields_in(record, all);
  for (const auto& [list, record] : all.lists) found[list] = found.at(record);
  return found;
}

}  // namespace security
