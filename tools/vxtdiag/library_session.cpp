#include "library_session.h"

#include "api/log/log.h"

extern "C" const char* VXTSimulatedError();  // of simulated builds

namespace vxtdiag {

using vxttools::CFailure;
using vxttools::EExit;

CLibrarySession::CLibrarySession(const vxttools::CGlobalOptions& rOptions) : m_bLog(rOptions.bLog) {
    constexpr bool kSimulatedBuild = VXT_SIMULATED_BUILD;
    if (!kSimulatedBuild && (rOptions.oMachine || rOptions.oState || rOptions.oFault))
        throw CFailure(EExit::kUsage,
                       "--machine, --state and --fault need a simulated build: this one works on the real machine");
    if constexpr (kSimulatedBuild)
        if (const char* const pszError = VXTSimulatedError())
            throw CFailure(std::string_view(pszError).starts_with("--fault: ") ? EExit::kUsage : EExit::kNoLibrary,
                           pszError);
    constexpr uint32_t kAllLevels = 0xFFFF, kLinesPerFile = 10'000;
    if (m_bLog) vxt::g_GetLog().Init("VXTDIAG", kAllLevels, vxt::CLog::kToFile, kLinesPerFile);
}

CLibrarySession::~CLibrarySession() { vxt::g_GetLog().UnInit(); }

}  // namespace vxtdiag
