#ifndef ORV_SYSTEM_STATE_FILE_H
#define ORV_SYSTEM_STATE_FILE_H

#include <string_view>

namespace orv {

/// True for the models of the "ZOR" family.
inline bool is_zor(std::string_view model) { return model.starts_with("ZOR"); }

/// Reads a key of the state file that the platform services of the device model keep up to date;
/// the buffer is unchanged when there is none.
bool read_state(std::string_view model, const char* key, char* buffer, int size);

}  // namespace orv

#endif
