// The firmware's raw command interface: method "RunCMD" of the WMI class "QOR_ACPI" (see docs/firmware.md).
#pragma once

#include <set>

#include "hw/wmi_handler.h"

namespace vxt {

inline constexpr uint32_t briSuccess = 0;  ///< return code of a command that was carried out

/// Little-endian, as the firmware reads it.
struct QOR_BIOS_COMMAND {
    uint32_t uCode;
    uint8_t aucArguments[252];
};
static_assert(sizeof(QOR_BIOS_COMMAND) == 256);

struct QOR_BIOS_RESULT {
    uint32_t uRetCode;
    uint8_t aucData[508];
};
static_assert(sizeof(QOR_BIOS_RESULT) == 512);

/// Return code of a result block before the firmware has filled it: a call that fails leaves it there.
inline constexpr uint32_t kBriNotRun = 0xFFFFFFFF;

class CQORBIOS {
public:
    explicit CQORBIOS(CWmiHandler& rWmi) : m_rWmi(rWmi) {}

    /// Asks for the interface's version and its commands.
    bool Init();
    /// Sends the first `InDataSize` bytes of a command block (at most 256; the rest is 0) and receives the first
    /// `OutDataSize` bytes of the result (at most 512). Returns the firmware's return code: the first word of the out
    /// buffer. Kept: when the call fails nothing is written and that word is returned all the same, so prepare it.
    uint32_t RunCommand(const void* pInData, uint32_t InDataSize, void* pOutData, uint32_t OutDataSize);

    uint32_t GetVersion() const { return m_uVersion; }  ///< 0: not known
    const std::set<uint32_t>& GetCommandList() const { return m_CommandList; }

private:
    CWmiHandler& m_rWmi;
    uint32_t m_uVersion = 0;
    std::set<uint32_t> m_CommandList;
};

/// The one of the library; works over g_GetFirmwareWmi().
CQORBIOS& g_GetQORBIOS();

}  // namespace vxt
