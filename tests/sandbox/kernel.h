/// What a kernel may be without.
#pragma once

namespace sandbox {

/// From now on clone3(2) is none that the kernel knows, to this thread and to all that it starts;
/// that cannot be taken back. Throws where it cannot be arranged.
void refuse_clone3();

}  // namespace sandbox
