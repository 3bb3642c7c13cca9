#ifndef ORV_COMMON_MODELS_H
#define ORV_COMMON_MODELS_H

#include <orv/system.h>

#include <string_view>

namespace orv {

/// On this model disks, arrays and SMART data belong to a hardware RAID controller.
inline constexpr std::string_view model_with_controller = "KTA7120U";

/// Buffer sizes that the callers of `devmodel_get` use: a longer model string is cut.
inline constexpr int short_model_size = 10;
inline constexpr int model_size = 16;

/// True when the device model, as the disk and array queries read it, has the RAID controller. A
/// model that cannot be read has none.
inline bool has_raid_controller() {
  char model[short_model_size] = "";
  devmodel_get(model, short_model_size);
  return model == model_with_controller;
}

/// Pools of these models carry reiserfs; pools of every other model carry xfs.
inline constexpr std::string_view models_with_reiserfs[] = {"KTA7120E", "KTA7120P"};

/// File system type of the device model's pools. A model that cannot be read has the usual one.
inline const char* file_system_type() {
  char model[model_size] = "";
  devmodel_get(model, model_size);
  for (const std::string_view reiserfs_model : models_with_reiserfs) {
    if (model == reiserfs_model) return "reiserfs";
  }
  return "xfs";
}

}  // namespace orv

#endif
