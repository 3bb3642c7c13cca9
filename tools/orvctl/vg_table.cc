#include "tools/orvctl/vg_table.h"

#include <functional>

#include "tools/orvctl/errors.h"

namespace orvctl {
namespace {

constexpr column<tag_pv_info> pv_columns[] = {
    {nullptr, "name", form::text, [](const tag_pv_info& pv) { return text_value(pv.pvname); }},
    {nullptr, "attributes", form::text, [](const tag_pv_info& pv) { return text_value(pv.attr); }},
    {nullptr, "enclosure", form::text,
     [](const tag_pv_info& pv) { return text_value(pv.enclosure); }},
    {nullptr, "size_bytes", form::gib, [](const tag_pv_info& pv) { return gib_value(pv.size); }},
    {nullptr, "used_bytes", form::gib, [](const tag_pv_info& pv) { return gib_value(pv.used); }},
};

json volume_names(const tag_vg_info& vg) {
  std::string names;
  for (const tag_pv_info& pv : orv::records(vg.pvs)) {
    names += (names.empty() ? "" : ",") + std::string(pv.pvname);
  }
  return text_value(names);
}

json free_space(const tag_vg_info& vg) {
  return gib_value(vg.size > vg.used ? vg.size - vg.used : 0);
}

constexpr column<tag_vg_info> vg_columns[] = {
    {"NAME", "name", form::text, [](const tag_vg_info& vg) { return text_value(vg.vgname); }},
    {"ATTRIBUTES", "attributes", form::text,
     [](const tag_vg_info& vg) { return text_value(vg.attr); }},
    {"ENCLOSURE", "enclosure", form::number,
     [](const tag_vg_info& vg) { return text_value(vg.enclosure); }},
    {"SIZE", "size_bytes", form::gib, [](const tag_vg_info& vg) { return gib_value(vg.size); }},
    {"USED", "used_bytes", form::gib, [](const tag_vg_info& vg) { return gib_value(vg.used); }},
    {"FREE", "free_bytes", form::gib, free_space},
    {"VOLUMES", nullptr, form::text, volume_names},
    {nullptr, "physical_volumes", form::text,
     [](const tag_vg_info& vg) { return make_table(pv_columns, orv::records(vg.pvs)).objects(); }},
};

}  // namespace

table vg_table(const vg_list& groups) { return make_table(vg_columns, groups); }

table one_vg(const std::string& name) {
  vg_list groups;
  check(vg_get(groups.get()));
  for (const tag_vg_info& group : groups) {
    if (name != group.vgname) continue;
    const std::reference_wrapper<const tag_vg_info> only[] = {group};
    return make_table(vg_columns, only);
  }
  throw library_problem(ORV_E_NO_VG, name);
}

}  // namespace orvctl
