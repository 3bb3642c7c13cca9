/// The machine of the injection tests: disks, an array, a group, a pool, shares of every service,
/// and tools that say what is in the files below /told. Whatever text is being driven, the machine
/// knows a group and a pool of that name, so that questions about it do not end there.
#pragma once

#include <string>
#include <vector>

#include "tests/sandbox/sandbox.h"
#include "tests/security/stand_in.h"

namespace security {

/// Fills the machine with its files.
void furnish(sandbox::machine& machine);

/// What a tool prints.
std::string printed_by(const std::vector<std::string>& command, const std::string& known_name);

}  // namespace security
