#include <orv/system.h>

#include <string_view>

#include "common/captured_output.h"
#include "common/first_line.h"
#include "common/log.h"
#include "common/models.h"
#include "common/text.h"
#include "system/buffer.h"
#include "system/state_file.h"

namespace {

enum class power_source { state_file, tool, none };

struct model_power {
  std::string_view model;
  power_source source;
};

constexpr model_power power_sources[] = {
    {"KTA7120X", power_source::state_file}, {"KTA7130X", power_source::state_file},
    {"KTA7120U", power_source::state_file}, {"KTA7120E", power_source::tool},
    {"KTA7120P", power_source::tool},
};

power_source source_of(std::string_view model) {
  if (orv::is_zor(model)) return power_source::state_file;
  for (const model_power& known : power_sources) {
    if (known.model == model) return known.source;
  }
  return power_source::none;
}

/// "normal" of the line "power state:  normal"; a line without ":" is the state itself.
std::string_view state_in(std::string_view line) {
  const std::size_t colon = line.rfind(':');
  if (colon == std::string_view::npos) return orv::trimmed(line);
  return orv::trimmed_left(line.substr(colon + 1));
}

/// The tool's output stays in /tmp when it cannot be read, for whoever looks into it.
int power_from_tool(char* buffer, int size) {
  orv::captured_output output("/tmp/pwstat.XXXXXX");
  if (!output.fill(orv::command("/usr/local/bin/pwstate > %s", output.path()))) {
    return ORV_E_COMMAND;
  }
  char line[32] = "";
  if (!output.exists() || !orv::read_first_line(output.path().c_str(), line, sizeof line)) {
    output.leave();
    return orv::log_failure(ORV_E_POWER_TOOL, "pwstate_get");
  }
  orv::copy_text(buffer, size, state_in(line));
  return ORV_OK;
}

}  // namespace

int pwstate_get(char* buffer, int size) try {
  if (!orv::is_usable(buffer, size)) return orv::log_failure(ORV_E_POWER);
  char model[orv::model_size] = "";
  const int result = devmodel_get(model, orv::model_size);
  if (result != ORV_OK) return orv::log_failure(result);
  switch (source_of(model)) {
    case power_source::state_file:
      if (orv::read_state(model, "power", buffer, size)) return ORV_OK;
      return orv::log_failure(ORV_E_POWER);
    case power_source::tool:
      return power_from_tool(buffer, size);
    case power_source::none:
      break;
  }
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
