// What a host may ask of the library about the simulated PC that it runs on, beside the eight exports of every build.
#include <cstdint>

#include "platform/simulated/simulated_system.h"

extern "C" {

/// Driver requests so far that the fault plan let go wrong.
__attribute__((visibility("default"))) uint64_t VXTSimulatedFailures() {
    return vxt::platform::simulated::g_GetSystem().m_RequestFaults.Injected();
}

/// Processors of the simulated PC.
__attribute__((visibility("default"))) uint32_t VXTSimulatedProcessors() {
    return vxt::platform::simulated::g_GetMachine().ProcessorCount();
}
}
