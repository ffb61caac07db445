#include "firmware_session.h"

#include "firmware/bios_handler.h"
#include "firmware/cmos_items.h"
#include "firmware/wmi_values.h"

namespace vxtdiag {

using vxttools::CFailure;
using vxttools::EExit;

CFirmwareSession::CFirmwareSession() {
    m_bConnected = vxt::g_GetFirmwareWmi().Connect(vxt::kFirmwareNamespace) &&
                   vxt::g_GetQORBIOSHandler().Connect(vxt::kFirmwareNamespace);
    if (!m_bConnected) return;
    m_bIsThere = static_cast<bool>(vxt::g_GetFirmwareWmi().GetObject(vxt::kFirmwareClass));
    if (!m_bIsThere) return;
    m_bHasCommands = vxt::g_GetQORBIOS().Init();
    m_bHasObjects = vxt::g_GetQORBIOSHandler().Init();
}

CFirmwareSession::~CFirmwareSession() {
    vxt::g_GetCMOSItemList().UnInit();
    vxt::g_GetFirmwareWmi().Disconnect();
    vxt::g_GetQORBIOSHandler().Disconnect();
}

void CFirmwareSession::Require(const CLibrarySession& rLibrary) const {
    if (!m_bConnected)
        throw CFailure(EExit::kNoLibrary,
                       "the system's management interface cannot be reached; " + std::string(rLibrary.Hint()));
    if (!m_bIsThere) throw CFailure(EExit::kNoSuchDevice, "this machine's firmware offers nothing to tune");
}

}  // namespace vxtdiag
