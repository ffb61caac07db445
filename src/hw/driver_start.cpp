// Start-up and shut-down of the driver handler.
#include <algorithm>
#include <cstring>

#include "api/log/log.h"
#include "api/log/log_checks.h"
#include "hw/driver_handler.h"
#include "platform/error_code.h"
#include "platform/system.h"
#include "registers/scope_exit.h"

namespace vxt {

namespace {

constexpr uint32_t kMcfgBaseOffset = 44;    ///< base address of the first allocation entry (PCI Firmware 3.0, 4.1.2)
constexpr uint64_t kProbeOffset = 0xC0000;  ///< ECAM offset of bus 0, device 24, function 0: the processor's own
constexpr uint32_t kNobodyThere = 0xFFFFFFFF;

// The south bridge's SMBus function and its base register (bit 0: decoding enabled).
constexpr uint32_t kChipsetDevice = 20;
constexpr uint32_t kChipsetIdentity = 0x43851002;  ///< device ID, vendor ID
constexpr uint32_t kChipsetBaseRegister = 0x90;
constexpr uint32_t kChipsetBaseMask = 0xFFF0;

// Any SMBus controller's base address registers (PCI Local Bus 3.0, 6.2.5).
constexpr uint8_t kSerialBusClass = 0x0C, kSMBusSubclass = 0x05;
constexpr uint32_t kIoBar = 1, kIoBarMask = 0xFFFC;

}  // namespace

bool CDriverHandler::Init(CSystemTables& rTables) {
    CScopeExit GiveBack([this] { UnInit(); });
    m_SMBusBase = 0;
    m_ullPCIBaseAddress = 0;
    m_PciFunctions.clear();

    LOG_PROCESS_ERROR(platform::PlatformId() == platform::kPlatformNt);
    bool bRetCode = platform::QueryIsWow64(m_bIsWow64);
    LOG_PROCESS_ERROR(bRetCode);

    {
        const CServiceTurn Turn(m_Patience);
        m_hDriver = platform::OpenDriver(protocol::kDeviceName);
        if (!m_hDriver) _InstallAndOpenDriver();
        LOG_PROCESS_ERROR(m_hDriver, "m_hDriver != INVALID_HANDLE_VALUE");
        bRetCode = AddReference();
        LOG_PROCESS_ERROR(bRetCode);
    }

    const uint8_t* pTable = nullptr;
    uint32_t uSize = 0;
    if (rTables.Init() && rTables.GetTable(g_TableKey("MCFG"), pTable, uSize)) {
        LOG_PROCESS_ERROR(uSize > kMcfgBaseOffset, "uSize > sizeof(MCFG)");
        std::memcpy(&m_ullPCIBaseAddress, pTable + kMcfgBaseOffset,
                    std::min<size_t>(uSize - kMcfgBaseOffset, sizeof(m_ullPCIBaseAddress)));
        LOG_PROCESS_ERROR(m_ullPCIBaseAddress);
        if (!_ProbePciBase()) m_ullPCIBaseAddress = 0;
        // Kept: the line shows the low 32 bits.
        g_GetLog().WriteLog(kLogInformation, "Found PCI MMIO base address %X",
                            static_cast<uint32_t>(m_ullPCIBaseAddress));
    }

    uint32_t ulData = 0;
    bRetCode = GetPCIConfig(0, kChipsetDevice, 0, 0, &ulData, sizeof(ulData));
    LOG_PROCESS_ERROR(bRetCode);
    if (ulData == kChipsetIdentity) {
        bRetCode = GetPCIConfig(0, kChipsetDevice, 0, kChipsetBaseRegister, &ulData, sizeof(ulData));
        LOG_PROCESS_ERROR(bRetCode);
        LOG_PROCESS_ERROR(ulData & 0x01);
        m_SMBusBase = static_cast<uint16_t>(ulData & kChipsetBaseMask);
    }
    bRetCode = InitPCIHeader();
    LOG_PROCESS_ERROR(bRetCode);
    if (m_SMBusBase == 0) m_SMBusBase = _ListedSMBusBase();

    GiveBack.Dismiss();
    return true;
}

void CDriverHandler::_InstallAndOpenDriver() {
    const bool bDenied = platform::LastError() == platform::kErrorAccessDenied;
    g_GetLog().WriteLog(kLogInformation, "Try to install VXT driver");
    if (bDenied) return;  // it runs, for others: replacing its service would take it away from them
    std::array<wchar_t, kMaxPath> szPath{};
    if (GetDriverPath(szPath.data())) InstallDriver(szPath.data());
    StartDriver();
    m_hDriver =
        platform::OpenDriver(protocol::kDeviceName);  // the only step that decides: the others report themselves
}

bool CDriverHandler::UnInit() {
    // The texts are kept. NOLINTBEGIN(readability-container-size-empty)
    LOG_CHECK_ERROR(m_MapAddrList.size() == 0);
    LOG_CHECK_ERROR(m_AllocateAddrList.size() == 0);
    // NOLINTEND(readability-container-size-empty)
    // Kept: both kinds of block are given back with the unmap request, each at its own length.
    uint32_t dwBytesReturned = 0;
    const auto Unmap = [&](auto& rBlock) {
        const bool bRetCode = platform::ControlDriver(m_hDriver, protocol::kUnmapMemory, &rBlock, sizeof(rBlock),
                                                      nullptr, 0, dwBytesReturned);
        LOG_CHECK_ERROR(bRetCode);
    };
    for (auto& [uAddress, rBlock] : m_MapAddrList) Unmap(rBlock);
    for (auto& [uAddress, rBlock] : m_AllocateAddrList) Unmap(rBlock);
    m_MapAddrList.clear();
    m_AllocateAddrList.clear();
    m_hDriver.Reset();
    const CServiceTurn Turn(m_Patience);
    if (ReleaseReference() != 0) return true;  // others still use the driver, or nobody knows
    const bool bRetCode = RemoveDriver();
    LOG_CHECK_ERROR(bRetCode);
    return true;
}

bool CDriverHandler::_ProbePciBase() {
    uint32_t uIdentity = kNobodyThere;
    return ReadMemory(m_ullPCIBaseAddress + kProbeOffset, sizeof(uIdentity), &uIdentity) && uIdentity != kNobodyThere;
}

uint16_t CDriverHandler::_ListedSMBusBase() const {
    for (const auto& [uKey, Record] : m_PciFunctions) {
        if (Record.ucClass != kSerialBusClass || Record.ucSubclass != kSMBusSubclass) continue;
        uint16_t usBase = 0;
        for (const uint32_t uBar : Record.auBaseAddresses)  // the last I/O register wins
            if (uBar & kIoBar && uBar & kIoBarMask) usBase = static_cast<uint16_t>(uBar & kIoBarMask);
        if (usBase) return usBase;
    }
    return 0;
}

}  // namespace vxt
