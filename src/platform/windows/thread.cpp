#include "platform/thread.h"

#include "platform/windows/windows_api.h"

namespace vxt::platform {

// SetThreadAffinityMask answers the previous mask, 0 when a processor of the new one is not the process's.
bool SetThreadAffinity(uint32_t uMask) { return SetThreadAffinityMask(GetCurrentThread(), uMask) != 0; }

}  // namespace vxt::platform
