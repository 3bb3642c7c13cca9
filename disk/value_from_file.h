#ifndef ORV_DISK_VALUE_FROM_FILE_H
#define ORV_DISK_VALUE_FROM_FILE_H

#include <string_view>

namespace orv {

/// Key of a controller's place on the bus. Its value may hold the separator: it is all the text
/// behind the first one.
inline constexpr char pci_location_key[] = "PCI location";

/// All the text behind the first separator of a "key SEPARATOR value" line, trimmed.
std::string_view whole_value(std::string_view line, std::string_view separators);

}  // namespace orv

#endif
