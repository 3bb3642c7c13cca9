#include "tools/orvctl/raid_table.h"

#include <functional>
#include <sstream>
#include <string_view>
#include <vector>

#include "tools/orvctl/errors.h"
#include "tools/orvctl/rebuild_progress.h"

namespace orvctl {
namespace {

struct mark {
  std::string_view text;
  const char* state;
};

// How the library marks a member that does not work: "sdb(F)".
constexpr mark marks[] = {{"(F)", "failed"}, {"(S)", "spare"}, {"(M)", "missing"}};

json member_object(std::string_view member) {
  for (const mark& each : marks) {
    if (!member.ends_with(each.text)) continue;
    member.remove_suffix(each.text.size());
    return {{"name", member == "*" ? json() : json(std::string(member))}, {"state", each.state}};
  }
  return {{"name", std::string(member)}, {"state", "active"}};
}

json items(const char* text, json (*make)(std::string_view)) {
  json all = json::array();
  std::istringstream rest(text);
  for (std::string item; std::getline(rest, item, ',');) {
    if (!item.empty()) all.push_back(make(item));
  }
  return all;
}

json plain_item(std::string_view item) { return std::string(item); }

}  // namespace

json array_members(const tag_md_info& array) { return items(array.disks, member_object); }

namespace {

constexpr column<tag_md_info> raid_columns[] = {
    {"NAME", "name", form::text, [](const tag_md_info& md) { return text_value(md.name); }},
    {"LEVEL", "level", form::text, [](const tag_md_info& md) { return text_value(md.level); }},
    {"STATE", "state", form::state, [](const tag_md_info& md) { return text_value(md.state); }},
    {"PROGRESS", "progress", form::text,
     [](const tag_md_info& md) { return text_value(md.progress); }},
    {nullptr, "rebuilt_percent", form::number,
     [](const tag_md_info& md) {
       const auto progress = read_progress(md.progress);
       return progress ? json(progress->percent) : json();
     }},
    {nullptr, "rebuild_bytes_per_second", form::number,
     [](const tag_md_info& md) {
       const auto progress = read_progress(md.progress);
       return progress ? json(progress->bytes_per_second) : json();
     }},
    {"SIZE", "size_bytes", form::gib, [](const tag_md_info& md) { return gib_value(md.size); }},
    {"ENCLOSURE", "enclosure", form::number,
     [](const tag_md_info& md) { return text_value(md.enclosure); }},
    {"MEMBERS", nullptr, form::text, [](const tag_md_info& md) { return text_value(md.disks); }},
    {nullptr, "members", form::text, array_members},
    {nullptr, "spares", form::text,
     [](const tag_md_info& md) { return items(md.spares, plain_item); }},
};

}  // namespace

table raid_table(const raid_list& arrays) { return make_table(raid_columns, arrays); }

named_array::named_array(const std::string& name) {
  check(raid_get(arrays_.get()));
  for (tag_md_info& each : arrays_) {
    if (name == each.name) array_ = &each;
  }
  if (array_ == nullptr) throw library_problem(ORV_E_NO_RAID, name);
}

table named_array::shown() const {
  const std::reference_wrapper<const tag_md_info> only[] = {*array_};
  return make_table(raid_columns, only);
}

}  // namespace orvctl
