#include "driver_session.h"

#include "api/log/log.h"
#include "firmware/acpi_table.h"
#include "hw/driver_handler.h"

namespace vxtdiag {

using vxttools::CFailure;
using vxttools::EExit;

CDriverSession::CDriverSession(const vxttools::CGlobalOptions& rOptions) {
    constexpr bool kSimulatedBuild = VXT_SIMULATED_BUILD;
    if (!kSimulatedBuild && !(rOptions.sMachine.empty() && rOptions.sFault.empty()))
        throw CFailure(EExit::kUsage,
                       "--machine and --fault need a simulated build: this one works on the real machine");
    constexpr uint32_t kAllLevels = 0xFFFF, kLinesPerFile = 10'000;
    if (rOptions.bLog) vxt::g_GetLog().Init("VXTDIAG", kAllLevels, vxt::CLog::kToFile, kLinesPerFile);
    if (vxt::g_GetDriverHandler().Init(vxt::g_GetACPITable())) return;
    vxt::g_GetLog().UnInit();  // the handler has cleaned up after itself
    throw CFailure(EExit::kNoLibrary, "the driver did not start: no driver file or no rights; " +
                                          std::string(rOptions.bLog ? "see the log below ./Logs" : "--log tells why"));
}

CDriverSession::~CDriverSession() {
    vxt::g_GetDriverHandler().UnInit();
    vxt::g_GetLog().UnInit();
}

}  // namespace vxtdiag
