#include <orv/support.h>
#include <orv/system.h>

#include <cerrno>
#include <string>
#include <string_view>

#include "common/log.h"
#include "common/models.h"
#include "common/text.h"
#include "system/state_file.h"

namespace {

struct fan_count {
  std::string_view model;
  int fans;
};

constexpr fan_count fan_counts[] = {
    {"ZOR7130L", 6},    {"ZOR7130G", 6},    {"ZOR7130H", 6}, {"ZOR7130LB", 7}, {"ZOR7130L_BS", 6},
    {"ZOR7130G_BS", 6}, {"ZOR7130H_BS", 6}, {"KTA7130X", 6}, {"KTA7120X", 6},  {"KTA7120E", 4},
    {"KTA7120P", 8},    {"KTA7120U", 6},    {"KTA7120A", 6},
};

/// A caller that passes no size owns a buffer that holds the list of any model.
constexpr int unstated_size = 128;

int fans_of(std::string_view model) {
  for (const fan_count& known : fan_counts) {
    if (known.model == model) return known.fans;
  }
  return 0;
}

/// "fan1:SPEED,fan3:SPEED" of the fans that report one.
std::string fan_speeds(std::string_view model) {
  std::string speeds;
  for (int fan = 1; fan <= fans_of(model); ++fan) {
    const std::string key = "fan" + std::to_string(fan);
    char speed[8] = "";
    if (!orv::read_state(model, key.c_str(), speed, sizeof speed)) continue;
    if (!speeds.empty()) speeds += ',';
    speeds += key + ':' + speed;
  }
  return speeds;
}

}  // namespace

int fan_speed_get(char* buffer, int size) try {
  if (buffer == nullptr) {
    errno = EINVAL;
    return orv::log_failure(ORV_E_FANS);
  }
  buffer[0] = '\0';
  char model[orv::model_size] = "";
  const int result = devmodel_get(model, orv::model_size);
  if (result != ORV_OK) return orv::log_failure(result);
  if (fans_of(model) == 0) return orv::log_failure(ORV_E_FANS);
  orv::copy_text(buffer, size > 0 ? size : unstated_size, fan_speeds(model));
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
