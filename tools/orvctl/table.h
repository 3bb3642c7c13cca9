#ifndef ORVCTL_TABLE_H
#define ORVCTL_TABLE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tools/orvctl/json.h"

/// The one writer of lists: the same columns give the table and the JSON objects.

namespace orvctl {

/// How a table shows a column's values. Numbers and sizes are aligned to the right; the value of a
/// size is bytes, whatever unit it is shown in. On a terminal a state has a colour.
enum class form { text, state, number, gib, mib };

/// A column as data. Without a title it is only in the JSON objects, without a key only in tables.
template <class record>
struct column {
  const char* title;
  const char* key;
  form shown_as;
  json (*value)(const record&);
};

/// How the user wants to see a list.
struct list_view {
  std::vector<std::string> columns;  ///< names of those to show, in this order; empty for all
  bool without_headings = false;
  bool bytes = false;     ///< sizes as plain numbers of bytes
  bool coloured = false;  ///< states have colours
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

  /// By which the columns that have a title can be chosen.
  std::vector<std::string> names_of_columns() const;

  // A column that the view names and the table or the objects do not have ends the command.
  std::string text(const list_view& view = {}) const;
  json objects(const list_view& view = {}) const;

 private:
  using places = std::vector<std::size_t>;
  places chosen(const list_view& view, const char* heading::*name) const;

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

inline constexpr std::uint64_t bytes_of_mib = std::uint64_t{1} << 20;
inline constexpr std::uint64_t bytes_of_gib = std::uint64_t{1} << 30;

/// A record's size in bytes. All bits set stand for a size that could not be read, and more bytes
/// than 64 bits can count are no size either.
json size_value(std::uint64_t count, std::uint64_t bytes_of_unit);
inline json gib_value(std::uint64_t count) { return size_value(count, bytes_of_gib); }
inline json mib_value(std::uint64_t count) { return size_value(count, bytes_of_mib); }

}  // namespace orvctl

#endif
