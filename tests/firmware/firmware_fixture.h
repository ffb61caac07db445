// A PC whose firmware is told by the text of a machine file, with the library's firmware connections open.
#pragma once

#include <functional>

#include "firmware/bios_handler.h"
#include "support/simulated_pc.h"

namespace vxttest {

/// Three clocks (the third without a list), two voltages, two setup items.
inline constexpr const char* kFirmware = R"([machine]
name = firmware
[cpuid]
00000001 = 00100F42 00000000 00000000 00000000
[firmware]
version = 3
commands = 00030001 00030002 00040001
vendor = QOR Boards
graphics = 5A 1
[firmware object 01010000]
name = HTRefClock
value = 200000
values = 190000 200000 210000
info = 150000 400000 200000 1000
[firmware object 01020000]
name = PCIeClock
value = 100000
values = 100000 101000
[firmware object 01030000]
name = ThirdClock
property = 1
value = 48000
[firmware object 02010000]
name = Memory voltage
value = 1500
info = 1300 1900 1500 25
[firmware object 02070000]
name = Board voltage
value = 1200
info = 1000 1400 0 10
[firmware item]
name = Core Trim Boost
value = 1
options = Disabled|Auto
[firmware item]
name = Quiet Boot
value = 0
options = Disabled|Enabled
)";

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
