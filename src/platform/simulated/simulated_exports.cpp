// What a host may ask of the library about the simulated PC that it runs on, beside the eight exports of every build.
#include <cstdint>

#include "platform/clock.h"
#include "platform/simulated/simulated_system.h"

extern "C" {

/// Null when the machine, its state file and the fault plan that the environment names are usable and every change could
/// be kept so far; else one line of text that says why not, valid for the process's life. "--fault: " begins the one about
/// the plan. A host that has asked before InitVXTAPI is expected to show it; otherwise InitVXTAPI does, on stderr.
__attribute__((visibility("default"))) const char* VXTSimulatedError() {
    return vxt::platform::simulated::g_GetSystem().TakeError();
}

/// Driver requests so far that the fault plan let go wrong: those that failed, gave no data, a wrong count or all ones.
__attribute__((visibility("default"))) uint64_t VXTSimulatedFailures() {
    return vxt::platform::simulated::g_GetSystem().m_Server.FailureCount();
}

/// Processors of the simulated PC.
__attribute__((visibility("default"))) uint32_t VXTSimulatedProcessors() {
    return vxt::platform::simulated::g_GetMachine().ProcessorCount();
}

/// Lets so much virtual time pass. A host that waits by itself, and not in the library, does not move the simulated PC's
/// clock: its fans and temperatures would stand still.
__attribute__((visibility("default"))) void VXTSimulatedWait(uint32_t uMilliseconds) {
    vxt::platform::Sleep(uMilliseconds);
    (void)vxt::platform::simulated::g_KeepState();  // the run's error tells
}
}
