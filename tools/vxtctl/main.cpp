// vxtctl: the command-line host. Loads the library as any host does and knows nothing but its SDK.
#include "common/command_line.h"

namespace vxtctl {

// Each stands in commands/, in the file that is called like it.
extern const vxttools::CCommand kOverview, kDevices, kDevice, kCpu, kCpuSet, kMemory, kMemorySet, kLinks, kLinksSet,
    kNorthBridge, kBios, kClocks, kClocksSet, kVoltages, kVoltagesSet, kSensors, kFan, kFanSet, kFanRestore, kWatchdog,
    kWatchdogStart, kWatchdogStop, kWatchdogRun, kCtb, kCtbSet, kProfile, kProfileSave, kProfileShow, kProfileDiff,
    kProfileVerify, kProfileApply, kProfileRollback, kStress, kBench, kTune, kAutoTune, kModules, kDisks, kReport;

}  // namespace vxtctl

int main(int nArguments, char** ppszArguments) {
    using namespace vxtctl;
    constexpr const vxttools::CCommand* kCommands[] = {
        &kOverview,  &kDevices,       &kDevice,       &kReport,      &kCpu,           &kCpuSet,       &kMemory,
        &kMemorySet, &kModules,       &kLinks,        &kLinksSet,    &kNorthBridge,   &kBios,         &kClocks,
        &kClocksSet, &kVoltages,      &kVoltagesSet,  &kSensors,     &kFan,           &kFanSet,       &kFanRestore,
        &kWatchdog,  &kWatchdogStart, &kWatchdogStop, &kWatchdogRun, &kCtb,           &kCtbSet,       &kDisks,
        &kProfile,   &kProfileSave,   &kProfileShow,  &kProfileDiff, &kProfileVerify, &kProfileApply, &kProfileRollback,
        &kStress,    &kBench,         &kTune,         &kAutoTune,
    };
    return vxttools::g_RunTool({"vxtctl", true, kCommands}, nArguments, ppszArguments);
}
