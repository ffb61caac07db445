#include "driver_session.h"

#include <algorithm>
#include <atomic>

#include "api/log/log_checks.h"
#include "firmware/acpi_table.h"
#include "hw/driver_handler.h"

/// Of simulated builds: a refused or wrong answer need not fail a check.
extern "C" uint64_t VXTSimulatedFailures();

namespace vxtdiag {

using vxttools::CFailure;
using vxttools::EExit;

namespace {

std::atomic<uint64_t> g_ullFailures = 0;  ///< failed checks of the driver handler

void g_CountFailure(std::string_view sWhere) noexcept {
    if (sWhere.starts_with("CDriverHandler::")) ++g_ullFailures;
}

}  // namespace

CDriverSession::CDriverSession(const CLibrarySession& rLibrary) {
    vxt::g_ObserveChecks(g_CountFailure);
    if (vxt::g_GetDriverHandler().Init(vxt::g_GetACPITable())) return;  // else it has cleaned up after itself
    throw CFailure(EExit::kNoLibrary,
                   "the driver did not start: no driver file or no rights; " + std::string(rLibrary.Hint()));
}

vxttools::CFindings CDriverSession::Findings() const {
    uint64_t ullFailures = g_ullFailures;
    if constexpr (VXT_SIMULATED_BUILD) ullFailures = std::max(ullFailures, VXTSimulatedFailures());
    if (ullFailures == 0) return {};
    return {std::to_string(ullFailures) + " requests to the driver went wrong: what they were to read may be missing"};
}

CDriverSession::~CDriverSession() { vxt::g_GetDriverHandler().UnInit(); }

}  // namespace vxtdiag
