#include <orv/service.h>
#include <orv/support.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <string>

#include "common/command.h"
#include "common/log.h"
#include "common/own_lock.h"
#include "common/replacement_file.h"
#include "common/text.h"
#include "common/whole_file.h"

namespace {

constexpr char config_path[] = "/etc/vsftpd.conf";
constexpr std::array<std::string_view, 3> limit_keys = {"local_max_rate", "max_clients",
                                                        "max_per_ip"};

/// The number of the limit that a line sets; the number of limits when it sets none.
std::size_t limit_of(std::string_view line) {
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos) return limit_keys.size();
  const auto* const found = std::find(limit_keys.begin(), limit_keys.end(), line.substr(0, equals));
  return static_cast<std::size_t>(found - limit_keys.begin());
}

/// The lines that set something, trimmed: no comments and no empty lines. A line may have any
/// length; lists of FTP commands do not fit 256 bytes.
std::vector<std::string_view> settings_in(std::string_view config) {
  std::vector<std::string_view> settings;
  for (const std::string_view line : orv::split(config, "\n")) {
    const std::string_view setting = orv::trimmed(line);
    if (!setting.empty() && !setting.starts_with('#')) settings.push_back(setting);
  }
  return settings;
}

/// What the appliance's `strtoul` of 32 bits gives: a number that does not fit is the largest, a
/// negative one wraps.
unsigned int number_in(const std::string& text) {
  constexpr long long largest = UINT_MAX;
  const long long number = std::strtoll(text.c_str(), nullptr, 10);
  return number > largest || number < -largest ? UINT_MAX : static_cast<unsigned int>(number);
}

/// The configuration with other limits. A line without "=" stays as it is.
std::string with_limits(std::string_view config, const std::array<unsigned int, 3>& limits) {
  std::string text;
  for (const std::string_view setting : settings_in(config)) {
    const std::size_t limit = limit_of(setting);
    if (limit == limit_keys.size()) {
      text.append(setting);
    } else {
      // Written as signed: a limit above 2147483647 becomes negative and is read back as it was.
      const int number = static_cast<int>(limits[limit]);
      text.append(limit_keys[limit]).append("=").append(std::to_string(number));
    }
    text += '\n';
  }
  return text;
}

}  // namespace

int ftp_share_para_get(unsigned int* rate, unsigned int* clients, unsigned int* per_ip) try {
  const std::array<unsigned int*, 3> limits = {rate, clients, per_ip};
  if (std::count(limits.begin(), limits.end(), nullptr) != 0) return orv::log_missing_argument();
  std::string config;
  struct stat examined {};
  if (!orv::read_file(config_path, config, examined)) return orv::log_failure(ORV_E_FTP_CONFIG);
  for (const std::string_view setting : settings_in(config)) {
    const std::size_t limit = limit_of(setting);
    if (limit == limit_keys.size()) continue;
    *limits[limit] = number_in(std::string(setting.substr(setting.find('=') + 1)));
  }
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int ftp_share_para_set(unsigned int rate, unsigned int clients, unsigned int per_ip) try {
  const orv::own_lock lock("vsftpd.conf");
  if (!lock) return orv::log_failure(ORV_E_FTP_CONFIG);
  orv::replacement_file rewritten("/tmp/vsftpd.XXXXXX");
  std::string config;
  struct stat original {};
  if (!orv::read_file(config_path, config, original)) {
    // Without a configuration the temporary file stays in /tmp.
    rewritten.leave();
    return orv::log_failure(ORV_E_FTP_CONFIG);
  }
  if (!rewritten.exists() || !rewritten.write(with_limits(config, {rate, clients, per_ip})) ||
      !rewritten.complete(original)) {
    return orv::log_failure(ORV_E_FTP_TEMPORARY);
  }
  rewritten.leave();
  const int result = orv::run(orv::command("mv %s /etc/vsftpd.conf > /dev/null", rewritten.path()));
  conf_save(config_path);
  return result;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
