// The arithmetic of the processor core that the calling thread runs on.
#pragma once

#include <cstdint>

namespace vxt::platform {

/// Bits that the core's arithmetic gets wrong just now: what computes for a test puts them into a result. 0: none, and always 0
/// on a real machine, whose cores err by themselves. On a simulated PC the core's clock is beyond what its silicon computes
/// correctly at. One call is enough for some milliseconds of computing. Any thread; never fails.
uint64_t SiliconFault();

/// A thread is about to compute for a test, or has ended that; from any thread, one end for each beginning. Nothing on a real
/// machine.
void BeginComputing();
void EndComputing();

/// A test has found an error, which whoever asks for it gets from now on; any thread. Nothing on a real machine.
void FoundError();

/// Whether SiliconFault may ever answer anything but 0. Never on a real machine.
bool SiliconMayErr();

}  // namespace vxt::platform
