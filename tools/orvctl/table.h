#ifndef ORVCTL_TABLE_H
#define ORVCTL_TABLE_H

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

/// The one writer of lists: the same columns give the table and the JSON objects.

namespace orvctl {

using json = nlohmann::ordered_json;

/// How a table shows a column's values. All but texts are aligned to the right.
enum class form { text, number, gib, mib };

/// A column as data. Without a title it is only in the JSON objects, without a key only in tables.
template <class record>
struct column {
  const char* title;
  const char* key;
  form shown_as;
  json (*value)(const record&);
};

class table {
 public:
  struct heading {
    const char* title;
    const char* key;
    form shown_as;
  };

  explicit table(std::vector<heading> headings) : headings_(std::move(headings)) {}

  /// One value for each heading. In a table a null is "-", true "yes" and false "no".
  void add(std::vector<json> row) { rows_.push_back(std::move(row)); }
  bool empty() const { return rows_.empty(); }

  std::string text() const;
  json objects() const;

 private:
  std::vector<heading> headings_;
  std::vector<std::vector<json>> rows_;
};

template <class record, std::size_t width, class range>
table make_table(const column<record> (&columns)[width], const range& records) {
  std::vector<table::heading> headings;
  for (const auto& each : columns) headings.push_back({each.title, each.key, each.shown_as});
  table made(std::move(headings));
  for (const record& each : records) {
    std::vector<json> row;
    for (const auto& shown : columns) row.push_back(shown.value(each));
    made.add(std::move(row));
  }
  return made;
}

/// A record's text field without blanks at its end; one that says nothing is null.
json text_value(const std::string& text);
/// A record's size; all bits set stand for a size that could not be read.
json size_value(std::uint64_t size);

}  // namespace orvctl

#endif
