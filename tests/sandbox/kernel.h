/// What a kernel may be without.
#pragma once

namespace sandbox {

/// From now on clone3(2) is none that the kernel knows, to this process and to all that it starts.
/// Throws where that cannot be arranged.
void refuse_clone3();

}  // namespace sandbox
