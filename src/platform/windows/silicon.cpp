// What a real processor and its time have to do with each other: nothing that we would see to.
#include "platform/silicon.h"

#include "platform/clock.h"

namespace vxt::platform {

uint64_t SiliconFault() { return 0; }

void BeginComputing() {}

void EndComputing() {}

void FoundError() {}

bool SiliconMayErr() { return false; }

void SleepWhileComputing(uint32_t uMilliseconds) { Sleep(uMilliseconds); }

}  // namespace vxt::platform
