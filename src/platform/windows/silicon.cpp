#include "platform/silicon.h"

namespace vxt::platform {

uint64_t SiliconFault() { return 0; }

void BeginComputing() {}

void EndComputing() {}

bool SiliconMayErr() { return false; }

}  // namespace vxt::platform
