#include <orv/system.h>

#include <cstring>
#include <string_view>

#include "common/log.h"
#include "common/models.h"
#include "system/buffer.h"
#include "system/state_file.h"

namespace {

/// Two models have one temperature sensor; the others name the processor's.
const char* temperature_key(std::string_view model) {
  return model == "ZOR7130LB" || model == "KTA7120P" ? "temp" : "temp(cpu)";
}

}  // namespace

int tmp_get(char* buffer, int size) try {
  if (!orv::is_usable(buffer, size)) return orv::log_failure(ORV_E_TEMPERATURE);
  std::memset(buffer, 0, static_cast<std::size_t>(size));
  char model[orv::model_size] = "";
  const int result = devmodel_get(model, orv::model_size);
  if (result != ORV_OK) return orv::log_failure(result);
  if (orv::read_state(model, temperature_key(model), buffer, size)) return ORV_OK;
  return orv::log_failure(ORV_E_TEMPERATURE);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
