#include "tools/orvctl/column_choice.h"

#include <algorithm>

#include "tools/orvctl/errors.h"

namespace orvctl {
namespace {

bool answers_to(const column_names& column, const std::string& name) {
  return (column.title != nullptr && column_name(column.title) == name) ||
         (column.key != nullptr && column_name(column.key) == name);
}

problem no_column(const std::string& name, const std::vector<column_names>& columns) {
  std::string all;
  for (const column_names& each : columns) all += (all.empty() ? "" : ", ") + each.name;
  return usage_problem("--columns: there is no column '" + name + "' but " + all,
                       "name some of them, separated by commas");
}

std::size_t place_of(const std::string& name, const std::vector<column_names>& columns) {
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (answers_to(columns[i], column_name(name.c_str()))) return i;
  }
  throw no_column(name, columns);
}

}  // namespace

std::string column_name(const char* title_or_key) {
  std::string name = title_or_key;
  for (char& letter : name) {
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    if (letter == ' ' || letter == '-') letter = '_';
  }
  return name;
}

std::vector<std::size_t> choose_columns(const std::vector<std::string>& wanted,
                                        const std::vector<column_names>& columns) {
  std::vector<std::size_t> places;
  for (const std::string& name : wanted) {
    const std::size_t place = place_of(name, columns);
    if (std::find(places.begin(), places.end(), place) != places.end()) {
      throw usage_problem("--columns: '" + name + "' comes twice", "name each column once");
    }
    places.push_back(place);
  }
  return places;
}

}  // namespace orvctl
