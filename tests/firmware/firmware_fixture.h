// A PC whose firmware is told by the text of a machine file, with the library's firmware connections open.
#pragma once

#include <functional>

#include "firmware/bios_handler.h"
#include "support/simulated_pc.h"
#include "support/text_cases.h"

namespace vxttest {

/// Three clocks (the third without a list), two voltages, two setup items.
inline const std::string kFirmware = g_SourceText("tests/cases/firmware.machine");

/// What the system says about the firmware; goes behind kFirmware or a [machine] section.
inline constexpr const char* kBios = R"([wmi root\cimv2 Win32_BIOS]
SerialNumber = null
Manufacturer = text:QOR Boards
Description = text:Board firmware
SMBIOSBIOSVersion = text:1.07
ReleaseDate = text:20091204000000.000000+000
)";

struct CFirmwarePc : CSimulatedPc {
    CFirmwarePc() { Boot(); }

    /// Switches on a PC of the given text and connects. `sMore` is added to it.
    void Boot(const std::string& sMore = "", const std::string& sText = kFirmware) {
        vxtsim::CMachineDescription Description;
        std::string sError;
        ASSERT_TRUE(vxtsim::g_ParseMachine(sText + sMore, "test", Description, sError)) << sError;
        Start(std::move(Description));
        ASSERT_TRUE(vxt::g_GetSystemWmi().Connect(vxt::kSystemNamespace));
        ASSERT_TRUE(vxt::g_GetFirmwareWmi().Connect(vxt::kFirmwareNamespace));
        ASSERT_TRUE(Handler().Connect(vxt::kFirmwareNamespace));
        TakeTrace();
        m_Log.Take();
    }
    vxt::CQORBIOSHandler& Handler() { return vxt::g_GetQORBIOSHandler(); }
};

/// A section that makes a method answer something else.
inline std::string g_Answer(const std::string& sMethod, const std::string& sLine) {
    return "[firmware answer " + sMethod + "]\n" + sLine + "\n";
}

}  // namespace vxttest
