#ifndef ORVCTL_JSON_H
#define ORVCTL_JSON_H

#include <nlohmann/json.hpp>

namespace orvctl {

/// Objects keep the order in which their keys are put in.
using json = nlohmann::ordered_json;

}  // namespace orvctl

// Compiled once in json.cc, and not again wherever a document is touched.
extern template class nlohmann::basic_json<nlohmann::ordered_map>;

#endif
