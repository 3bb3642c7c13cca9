#ifndef ORV_DISK_SMART_NAMES_H
#define ORV_DISK_SMART_NAMES_H

#include <cstddef>
#include <iterator>
#include <string_view>

namespace orv {

/// An attribute that is reported, by the names that the two tools give it.
struct smart_name {
  std::string_view smartctl;
  std::string_view arcadm;
};

inline constexpr smart_name smart_names[] = {
    {"Raw_Read_Error_Rate", "Raw Read Error Rate"},
    {"Spin_Up_Time", "Spin Up Time"},
    {"Reallocated_Sector_Ct", "Reallocated Sector Ct"},
    {"Seek_Error_Rate", "Seek Error Rate"},
    {"Spin_Retry_Count", "Spin Retry Count"},
    {"Calibration_Retry_Count", "Calibration Retry Count"},
    {"Temperature_Celsius", "Temperature Celsius"},
};

/// No more attributes than these are taken from one output.
inline constexpr std::size_t most_attributes = std::size(smart_names);

/// True when an attribute of this name, in the form of one of the tools, is reported.
inline bool is_reported(std::string_view name, std::string_view smart_name::*form) {
  for (const smart_name& known : smart_names) {
    if (known.*form == name) return true;
  }
  return false;
}

}  // namespace orv

#endif
