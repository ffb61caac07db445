#include "library_session.h"

#include "api/log/log.h"
#include "common/console.h"
#include "sim/machine_file.h"

namespace vxtdiag {

using vxttools::CFailure;
using vxttools::EExit;

CLibrarySession::CLibrarySession(const vxttools::CGlobalOptions& rOptions) : m_bLog(rOptions.bLog) {
    constexpr bool kSimulatedBuild = VXT_SIMULATED_BUILD;
    if (!kSimulatedBuild && (rOptions.oMachine || rOptions.oFault))
        throw CFailure(EExit::kUsage,
                       "--machine and --fault need a simulated build: this one works on the real machine");
    if (const std::string sMachine = vxttools::g_Environment("VXT_MACHINE"); kSimulatedBuild && !sMachine.empty()) {
        vxtsim::CMachineDescription Machine;
        std::string sError;
        if (!vxtsim::g_LoadMachine(sMachine, Machine, sError)) throw CFailure(EExit::kNoLibrary, sError);
    }
    constexpr uint32_t kAllLevels = 0xFFFF, kLinesPerFile = 10'000;
    if (m_bLog) vxt::g_GetLog().Init("VXTDIAG", kAllLevels, vxt::CLog::kToFile, kLinesPerFile);
}

CLibrarySession::~CLibrarySession() { vxt::g_GetLog().UnInit(); }

}  // namespace vxtdiag
