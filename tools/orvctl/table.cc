#include "tools/orvctl/table.h"

#include <libsmartcols.h>

#include <cstdlib>
#include <limits>
#include <memory>
#include <new>

#include "tools/orvctl/column_choice.h"
#include "tools/orvctl/state_colour.h"

namespace orvctl {
namespace {

struct table_release {
  void operator()(libscols_table* made) const { scols_unref_table(made); }
};
using scols_table = std::unique_ptr<libscols_table, table_release>;

std::string in_unit(std::uint64_t bytes, std::uint64_t unit) {
  return std::to_string(bytes / unit + (bytes % unit >= unit / 2 ? 1 : 0));
}

std::string size_text(std::uint64_t bytes, form shown_as) {
  return shown_as == form::gib ? in_unit(bytes, bytes_of_gib) + " GiB"
                               : in_unit(bytes, bytes_of_mib) + " MiB";
}

std::string cell(const json& value, form shown_as, bool in_bytes) {
  if (value.is_null()) return "-";
  if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
  if (value.is_string()) return value.get<std::string>();
  const bool is_size = shown_as == form::gib || shown_as == form::mib;
  return is_size && !in_bytes ? size_text(value.get<std::uint64_t>(), shown_as) : value.dump();
}

void must(bool done) {
  if (!done) throw std::bad_alloc();
}

bool is_right_aligned(form shown_as) { return shown_as != form::text && shown_as != form::state; }

scols_table make_empty(const list_view& view) {
  scols_table made(scols_new_table());
  must(made != nullptr);
  scols_table_enable_noheadings(made.get(), view.without_headings ? 1 : 0);
  scols_table_enable_colors(made.get(), view.coloured ? 1 : 0);
  return made;
}

void fill(libscols_line* line, std::size_t place, const json& value, form shown_as,
          const list_view& view) {
  must(scols_line_set_data(line, place, cell(value, shown_as, view.bytes).c_str()) == 0);
  if (!view.coloured || shown_as != form::state) return;
  const char* colour = colour_of(value);
  if (colour == nullptr) return;
  must(scols_cell_set_color(scols_line_get_cell(line, place), colour) == 0);
}

std::string printed(libscols_table* made) {
  char* text = nullptr;
  must(scols_print_table_to_string(made, &text) == 0);
  const std::unique_ptr<char, void (*)(void*)> release(text, std::free);
  return text == nullptr ? "" : std::string(text) + '\n';
}

}  // namespace

table::places table::chosen(const list_view& view, const char* heading::*name) const {
  places there;
  std::vector<column_names> names;
  for (std::size_t i = 0; i < headings_.size(); ++i) {
    if (headings_[i].*name == nullptr) continue;
    there.push_back(i);
    names.push_back({column_name(headings_[i].*name), headings_[i].title, headings_[i].key});
  }
  if (view.columns.empty()) return there;
  places wanted;
  for (const std::size_t i : choose_columns(view.columns, names)) wanted.push_back(there[i]);
  return wanted;
}

std::vector<std::string> table::names_of_columns() const {
  std::vector<std::string> names;
  for (const heading& each : headings_) {
    if (each.title != nullptr) names.push_back(column_name(each.title));
  }
  return names;
}

std::string table::text(const list_view& view) const {
  const scols_table made = make_empty(view);
  const places shown = chosen(view, &heading::title);
  for (const std::size_t i : shown) {
    const int flags = is_right_aligned(headings_[i].shown_as) ? SCOLS_FL_RIGHT : 0;
    // A heading makes its column as wide as itself, even one that is not shown.
    const char* title = view.without_headings ? "" : headings_[i].title;
    must(scols_table_new_column(made.get(), title, 0, flags) != nullptr);
  }
  for (const auto& row : rows_) {
    libscols_line* line = scols_table_new_line(made.get(), nullptr);
    must(line != nullptr);
    std::size_t place = 0;
    for (const std::size_t i : shown) fill(line, place++, row[i], headings_[i].shown_as, view);
  }
  return printed(made.get());
}

json table::objects(const list_view& view) const {
  const places shown = chosen(view, &heading::key);
  json all = json::array();
  for (const auto& row : rows_) {
    json object = json::object();
    for (const std::size_t i : shown) object[headings_[i].key] = row[i];
    all.push_back(std::move(object));
  }
  return all;
}

json text_value(const std::string& text) {
  const std::size_t last = text.find_last_not_of(' ');
  return last == std::string::npos ? json() : json(text.substr(0, last + 1));
}

json size_value(std::uint64_t count, std::uint64_t bytes_of_unit) {
  constexpr std::uint64_t largest = std::numeric_limits<std::uint64_t>::max();
  return count > largest / bytes_of_unit ? json() : json(count * bytes_of_unit);
}

}  // namespace orvctl
