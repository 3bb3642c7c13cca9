/// One exported function and how it is called: what the faults are tried on.
#pragma once

#include <orv.h>

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "common/families.h"
#include "world.h"

namespace faults {

using codes = std::vector<long>;

/// A call that is ready to be made, with the memory that it is given.
struct ready_call {
  std::function<long()> act;
  /// Prints what the call told its caller, beyond its result.
  std::function<void()> show = [] {};
};

/// A fault, or a command, by a part of its description, that a function is documented to overcome:
/// it may tell less, or do the rest only.
struct exemption {
  std::string part;
  std::string reason;
};
using exemptions = std::vector<exemption>;

struct subject {
  std::string name{};     // as in the lists of exported symbols
  std::string variant{};  // what is special about this call; "" for the usual one
  codes documented{};     // results besides `expected`
  std::function<ready_call(world&)> prepare{};
  long expected = ORV_OK;
  std::string model = "KTA7120X";
  /// The name of the machine's shell, without which plain command lines are run; "": it has none.
  std::string shell{};
  exemptions overcomes{};
  /// Files that are documented to be cut short by a failure.
  std::vector<std::string> cut_short{};
  /// Files of which a failure may leave some lines of the old and some of the new content: whole
  /// ones, and all that both have.
  std::vector<std::string> mixed{};
  /// Files that are documented to stay after a failure.
  std::vector<std::string> leaves{};
  /// The list tells less, as documented, when a source of details fails.
  bool may_tell_less = false;
  /// A text that it must never tell.
  std::string never_tells{};
  /// Parts of commands that must not be run, whatever fails: the call is to be refused.
  std::vector<std::string> never_runs{};
};

const std::vector<subject>& all_subjects();

// --- The tables, one for each subsystem ----------------------------------------------------------

std::vector<subject> support_subjects();
std::vector<subject> system_subjects();
std::vector<subject> disk_subjects();
std::vector<subject> raid_subjects();
std::vector<subject> lvm_subjects();
std::vector<subject> fs_subjects();
std::vector<subject> share_subjects();
std::vector<subject> service_subjects();
std::vector<subject> user_subjects();

// --- How functions are called --------------------------------------------------------------------

inline codes operator+(codes first, const codes& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

inline exemptions because(const std::string& reason, const std::vector<std::string>& parts) {
  exemptions all;
  for (const auto& part : parts) all.push_back({part, reason});
  return all;
}

inline exemptions operator+(exemptions first, const exemptions& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

/// A part of the description of every fault.
inline constexpr char every_fault[] = "";

inline const codes command = {ORV_E_COMMAND};
inline const codes disk_list = {ORV_E_COMMAND,    ORV_E_DISK_DRIVER, ORV_E_DISK_DUMP,
                                ORV_E_SPARE_LIST, ORV_E_SPARE_LINE,  ORV_E_DISK_SCAN};
inline const codes array_list = {ORV_E_COMMAND, ORV_E_MDSTAT, ORV_E_MD_SYSFS, ORV_E_MD_DETAIL};
inline const codes group_list = {ORV_E_COMMAND, ORV_E_VGDISPLAY, ORV_E_PVDISPLAY,
                                 ORV_E_MODEL_QUERY};
inline const codes pool_list = {ORV_E_LVDISPLAY_TOOL, ORV_E_LVDISPLAY};

/// A call that needs nothing of the machine.
template <class Function>
std::function<ready_call(world&)> call(Function function) {
  return [function](world&) { return ready_call{.act = [function] { return long{function()}; }}; };
}

/// A function that changes the machine by tools, which succeed at whatever they are asked.
template <class Function>
std::function<ready_call(world&)> call_with_text(Function function) {
  return [function](world&) {
    auto text = std::make_shared<std::array<char, 256>>();
    return ready_call{.act = [function, text] { return long{function(text->data())}; },
                      .show = [text] { std::printf("'%s'\n", text->data()); }};
  };
}

/// A getter that fills a buffer.
inline std::function<ready_call(world&)> get_text(int (*getter)(char*, int)) {
  return call_with_text([getter](char* text) { return getter(text, 256); });
}

inline void show(tag_diskinfo_list* list) { disk_list_show(list); }
inline void show(tag_mdinfo_list* list) { md_list_show(list); }
inline void show(tag_pvinfo_list* list) { pv_list_show(list); }
inline void show(tag_vginfo_list* list) { vg_list_show(list); }
inline void show(tag_poolinfo_list* list) { pool_list_show(list); }
inline void show(tag_fsinfo_list* list) { fs_list_show(list); }
inline void show(tag_shareconf_list* list) { share_list_show(list); }
inline void show(tag_shareconn_list* list) { conn_list_show(list); }
inline void show(tag_user_info_list* list) { user_list_show(list); }
inline void show(tag_alarm_list* list) { alarm_list_show(list); }
inline void show(tag_netcard_list* list) { netcard_list_show(list); }

/// A function on a list, which `fill` fills before.
template <class List, class Function>
std::function<ready_call(world&)> with_list(Function function,
                                            std::function<void(List*)> fill = {}) {
  return [function, fill](world&) {
    auto list = std::make_shared<orv::scoped_list<List>>();
    if (fill) fill(list->get());
    return ready_call{.act = [function, list] { return long{function(list->get())}; },
                      .show = [list] { show(list->get()); }};
  };
}

/// A record that a test fills in.
template <class Record>
using changed_record = std::function<void(Record&)>;

/// Copies a text into a field of a record.
template <std::size_t Size>
void put(char (&field)[Size], std::string_view text) {
  field[text.copy(field, Size - 1)] = '\0';
}

}  // namespace faults
