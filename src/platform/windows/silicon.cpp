#include "platform/silicon.h"

namespace vxt::platform {

uint64_t SiliconFault() { return 0; }

}  // namespace vxt::platform
