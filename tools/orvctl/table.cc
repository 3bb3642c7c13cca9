#include "tools/orvctl/table.h"

#include <libsmartcols.h>

#include <cstdlib>
#include <limits>
#include <memory>
#include <new>

namespace orvctl {
namespace {

struct table_release {
  void operator()(libscols_table* made) const { scols_unref_table(made); }
};
using scols_table = std::unique_ptr<libscols_table, table_release>;

std::string cell(const json& value, form shown_as) {
  if (value.is_null()) return "-";
  if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
  const std::string text = value.is_string() ? value.get<std::string>() : value.dump();
  if (shown_as == form::gib) return text + " GiB";
  if (shown_as == form::mib) return text + " MiB";
  return text;
}

void must(bool done) {
  if (!done) throw std::bad_alloc();
}

void print(libscols_table* made, std::string& text) {
  char* printed = nullptr;
  must(scols_print_table_to_string(made, &printed) == 0);
  if (printed != nullptr) text.assign(printed).push_back('\n');
  std::free(printed);
}

}  // namespace

std::string table::text() const {
  const scols_table made(scols_new_table());
  must(made != nullptr);
  for (const auto& each : headings_) {
    if (each.title == nullptr) continue;
    const int flags = each.shown_as == form::text ? 0 : SCOLS_FL_RIGHT;
    must(scols_table_new_column(made.get(), each.title, 0, flags) != nullptr);
  }
  for (const auto& row : rows_) {
    libscols_line* line = scols_table_new_line(made.get(), nullptr);
    must(line != nullptr);
    std::size_t place = 0;
    for (std::size_t i = 0; i < headings_.size(); ++i) {
      if (headings_[i].title == nullptr) continue;
      const std::string shown = cell(row[i], headings_[i].shown_as);
      must(scols_line_set_data(line, place++, shown.c_str()) == 0);
    }
  }
  std::string text;
  print(made.get(), text);
  return text;
}

json table::objects() const {
  json all = json::array();
  for (const auto& row : rows_) {
    json object = json::object();
    for (std::size_t i = 0; i < headings_.size(); ++i) {
      if (headings_[i].key != nullptr) object[headings_[i].key] = row[i];
    }
    all.push_back(std::move(object));
  }
  return all;
}

json text_value(const std::string& text) {
  const std::size_t last = text.find_last_not_of(' ');
  return last == std::string::npos ? json() : json(text.substr(0, last + 1));
}

json size_value(std::uint64_t size) {
  return size == std::numeric_limits<std::uint64_t>::max() ? json() : json(size);
}

}  // namespace orvctl
