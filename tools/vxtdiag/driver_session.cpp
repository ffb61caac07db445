#include "driver_session.h"

#include "firmware/acpi_table.h"
#include "hw/driver_handler.h"

namespace vxtdiag {

using vxttools::CFailure;
using vxttools::EExit;

CDriverSession::CDriverSession(const CLibrarySession& rLibrary) {
    if (vxt::g_GetDriverHandler().Init(vxt::g_GetACPITable())) return;  // else it has cleaned up after itself
    throw CFailure(EExit::kNoLibrary,
                   "the driver did not start: no driver file or no rights; " + std::string(rLibrary.Hint()));
}

CDriverSession::~CDriverSession() { vxt::g_GetDriverHandler().UnInit(); }

}  // namespace vxtdiag
