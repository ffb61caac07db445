// PCI configuration space and the list of the machine's functions.
#include <cstddef>
#include <cstring>

#include "api/log/log_checks.h"
#include "hw/driver_handler.h"
#include "registers/no_throw.h"

namespace vxt {

using protocol::CPciRecord;

namespace {

// PCI Local Bus 3.0, 6.1
constexpr uint32_t kHeaderBytes = 40;  ///< of each function, kept in the list
constexpr size_t kHeaderInRecord = offsetof(CPciRecord, usVendor);
static_assert(kHeaderInRecord + kHeaderBytes == sizeof(CPciRecord));
constexpr uint16_t kNoFunction = 0xFFFF;  ///< vendor ID that an absent function reads
constexpr uint32_t kBuses = 64, kDevices = 32, kFunctions = 8;

constexpr uint32_t g_PciKey(uint16_t usVendor, uint16_t usDevice) { return uint32_t{usVendor} << 16 ^ usDevice; }

using PCIConfigParam = protocol::CPciConfigHeader;
struct CPciConfigBlock {
    PCIConfigParam Header;
    uint8_t aucData[4096];  ///< a function's whole extended configuration space
};

// One block per direction: requests through the driver must not run concurrently. ECAM accesses have no such limit.
CPciConfigBlock s_ReadBlock, s_WriteBlock;

}  // namespace

bool CDriverHandler::GetPCIConfig(uint32_t uBus, uint32_t uDevice, uint32_t uFunction, uint32_t uOffset, void* pData,
                                  uint32_t uSize) {
    LOG_PROCESS_ERROR(pData);
    if (m_ullPCIBaseAddress && ReadMemory(_EcamAddress(uBus, uDevice, uFunction, uOffset), uSize, pData)) return true;
    LOG_PROCESS_ERROR(uSize <= sizeof(s_ReadBlock.aucData));
    s_ReadBlock.Header = {uBus, uDevice, uFunction, uOffset, uSize};
    std::memset(s_ReadBlock.aucData, 0, uSize);
    const uint32_t uBlockSize = static_cast<uint32_t>(sizeof(PCIConfigParam)) + uSize;
    uint32_t dwBytesReturned = 0;
    const auto Send = [&](uint32_t uCode) {
        return platform::ControlDriver(m_hDriver, uCode, &s_ReadBlock, uBlockSize, &s_ReadBlock, uBlockSize,
                                       dwBytesReturned);
    };
    const bool bRetCode = Send(protocol::kReadPciConfig) || Send(protocol::kReadPciConfigOld);
    LOG_PROCESS_ERROR(bRetCode);
    if (dwBytesReturned == 0 || s_ReadBlock.Header.uSize == 0) return false;  // the function cannot be reached
    LOG_PROCESS_ERROR(dwBytesReturned == sizeof(PCIConfigParam) + uSize);
    std::memcpy(pData, s_ReadBlock.aucData, uSize);
    return true;
}

bool CDriverHandler::SetPCIConfig(uint32_t uBus, uint32_t uDevice, uint32_t uFunction, uint32_t uOffset,
                                  const void* pData, uint32_t uSize) {
    LOG_PROCESS_ERROR(pData);
    if (m_ullPCIBaseAddress && WriteMemory(_EcamAddress(uBus, uDevice, uFunction, uOffset), uSize, pData)) return true;
    LOG_PROCESS_ERROR(uSize <= sizeof(s_WriteBlock.aucData));
    s_WriteBlock.Header = {uBus, uDevice, uFunction, uOffset, uSize};
    std::memcpy(s_WriteBlock.aucData, pData, uSize);
    uint32_t dwBytesReturned = 0;
    const auto Send = [&](uint32_t uCode) {
        return platform::ControlDriver(m_hDriver, uCode, &s_WriteBlock,
                                       static_cast<uint32_t>(sizeof(PCIConfigParam)) + uSize, nullptr, 0,
                                       dwBytesReturned);
    };
    const bool bRetCode = Send(protocol::kWritePciConfig) || Send(protocol::kWritePciConfigOld);
    LOG_PROCESS_ERROR(bRetCode);
    LOG_PROCESS_ERROR(dwBytesReturned == 0);
    return true;
}

uint64_t CDriverHandler::_EcamAddress(uint32_t uBus, uint32_t uDevice, uint32_t uFunction, uint32_t uOffset) const {
    // Kept: the fields are combined as they come, not masked.
    return m_ullPCIBaseAddress + (((uBus << 5 | uDevice) << 3 | uFunction) << 12 | uOffset);
}

bool CDriverHandler::InitPCIHeader() {
    m_PciFunctions.clear();
    if (m_ullPCIBaseAddress == 0) {
        const bool bRetCode = _ScanPci();
        LOG_PROCESS_ERROR(bRetCode);
        return true;
    }
    protocol::CEnumerateBlock Param{};
    const uint32_t uSize = sizeof(Param);
    Param.ullEcamBase = m_ullPCIBaseAddress;
    Param.uCapacity = static_cast<uint32_t>(std::size(Param.aRecords));
    const auto Position = [&Param] {
        return (uint64_t{Param.uBus} << 16 | uint64_t{Param.uDevice} << 8) + Param.uFunction;
    };
    while (Param.uBus < kBuses) {
        const uint64_t ullBefore = Position();
        Param.uCount = Param.uCapacity;
        uint32_t dwBytesReturned = 0;
        bool bRetCode =
            platform::ControlDriver(m_hDriver, protocol::kEnumeratePci, &Param, uSize, &Param, uSize, dwBytesReturned);
        LOG_PROCESS_ERROR(bRetCode);
        LOG_PROCESS_ERROR(dwBytesReturned == uSize);
        LOG_PROCESS_ERROR(Param.uCount <= std::size(Param.aRecords));
        LOG_PROCESS_ERROR(Position() > ullBefore);  // a driver that stands still would hold us for ever
        for (uint32_t i = 0; i < Param.uCount; ++i) {
            bRetCode = _FilePciFunction(Param.aRecords[i]);
            LOG_PROCESS_ERROR(bRetCode);
        }
    }
    return true;
}

bool CDriverHandler::_ScanPci() {
    for (uint32_t uBus = 0; uBus < kBuses; ++uBus)
        for (uint32_t uDevice = 0; uDevice < kDevices; ++uDevice)
            for (uint32_t uFunction = 0; uFunction < kFunctions; ++uFunction) {
                CPciRecord Record{};
                Record.uBus = uBus, Record.uDevice = uDevice, Record.uFunction = uFunction;
                uint8_t* const pHeader = reinterpret_cast<uint8_t*>(&Record) + kHeaderInRecord;
                // Kept: the first failed read ends the scan with what was found so far.
                if (!GetPCIConfig(uBus, uDevice, uFunction, 0, pHeader, kHeaderBytes)) return true;
                if (Record.usVendor != kNoFunction && !_FilePciFunction(Record)) return false;
            }
    return true;
}

bool CDriverHandler::_FilePciFunction(const CPciRecord& rRecord) {
    return g_NoThrow([&] { m_PciFunctions.emplace(g_PciKey(rRecord.usVendor, rRecord.usDevice), rRecord); });
}

const CPciRecord* CDriverHandler::FindPciFunction(uint16_t usVendor, uint16_t usDevice) const {
    const uint32_t uKey = g_PciKey(usVendor, usDevice);
    const auto it = m_PciFunctions.lower_bound(uKey);
    return it != m_PciFunctions.end() && it->first == uKey ? &it->second : nullptr;
}

}  // namespace vxt
