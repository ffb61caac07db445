// The only road to the hardware: one device-control request per access.
#pragma once

#include <array>
#include <map>

#include "hw/driver_protocol.h"
#include "hw/service_turn.h"
#include "hw/system_tables.h"
#include "platform/driver_channel.h"
#include "platform/named_objects.h"
#include "platform/service_control.h"

namespace vxt {

/// Gateway to the VXTDriver kernel driver: installs and starts its service on first use, counts the processes that use
/// it, and removes it with the last one.
///
/// Threads: requests may come from several threads, except PCI configuration without an ECAM base: those share one block
/// per direction. Index/data register pairs are the callers' to keep together.
class CDriverHandler {
public:
    CDriverHandler() = default;
    CDriverHandler(const CDriverHandler&) = delete;

    // Slot order is fixed. Each operation is one request; false (0 for addresses) and one log line on failure.
    virtual bool WritePort(uint16_t usPort, uint32_t uValue);
    virtual bool WritePort(uint16_t usPort, uint16_t usValue);
    virtual bool WritePort(uint16_t usPort, uint8_t ucValue);
    virtual bool ReadPort(uint16_t usPort, uint32_t& ruValue);
    virtual bool ReadPort(uint16_t usPort, uint16_t& rusValue);
    virtual bool ReadPort(uint16_t usPort, uint8_t& rucValue);
    /// The low half comes first: bits 37:32 of a register are bits 5:0 of `ruHigh`.
    virtual bool RDMSR(uint32_t uIndex, uint32_t& ruLow, uint32_t& ruHigh);
    virtual bool WRMSR(uint32_t uIndex, uint32_t uLow, uint32_t uHigh);
    /// The arguments are the callers' business and pass through. Returns the low 32 bits of the address.
    virtual uint32_t AllocatePhysicalMemory(uint32_t a, uint32_t b, uint32_t c, uint32_t d, uint32_t e);
    virtual bool FreePhysicalMemory(uint32_t uAddress);
    /// Maps physical memory into this process. Returns the low 32 bits of the address, the key for UnmapPhysicalMemory;
    /// see GetMappedAddress.
    virtual uint32_t MapPhysicalMemory(uint32_t uPhysicalLow, uint32_t uPhysicalHigh, uint32_t uSize);
    virtual bool UnmapPhysicalMemory(uint32_t uAddress);
    /// An answer of length 0 (the hardware refused) is a silent false.
    virtual bool ReadMemory(uint64_t ullPhysical, uint32_t uSize, void* pData);
    virtual bool WriteMemory(uint64_t ullPhysical, uint32_t uSize, const void* pData);
    /// Through the ECAM window when its base is known, else (or when that fails) through the driver's requests.
    virtual bool GetPCIConfig(uint32_t uBus, uint32_t uDevice, uint32_t uFunction, uint32_t uOffset, void* pData,
                              uint32_t uSize);
    virtual bool SetPCIConfig(uint32_t uBus, uint32_t uDevice, uint32_t uFunction, uint32_t uOffset, const void* pData,
                              uint32_t uSize);
    /// One SMBus byte-data transfer (SMBus 2.0, 5.5.4 and 5.5.5). Bit 0 of `ucAddress`: 1 reads, 0 writes.
    /// A device that does not answer is a silent false.
    virtual bool AccessSMBus(uint8_t ucAddress, uint8_t ucOffset, uint8_t& rucData);
    virtual ~CDriverHandler() = default;

    /// Opens (or installs and starts) the driver, takes a reference unless it has one, finds the ECAM base in the tables'
    /// MCFG, the SMBus controller and all PCI functions. On failure everything is given back.
    bool Init(CSystemTables& rTables);
    /// Always true; problems are in the log.
    bool UnInit();

    /// First function filed with that identity; null when the machine has none. Valid until the next Init.
    const protocol::CPciRecord* FindPciFunction(uint16_t usVendor, uint16_t usDevice) const;
    /// Every function by (vendor << 16) XOR device.
    const std::multimap<uint32_t, protocol::CPciRecord>& GetPciFunctions() const { return m_PciFunctions; }
    /// The whole address of a mapping, also where pointers are wider than its key; 0 for an unknown key.
    uint64_t GetMappedAddress(uint32_t uAddress) const;
    uint64_t GetPciBaseAddress() const { return m_ullPCIBaseAddress; }
    uint16_t GetSMBusBase() const { return m_SMBusBase; }

    // Steps of Init and UnInit, also used by diagnostics.
    bool InstallDriver(const wchar_t* pszPath);
    bool RemoveDriver();
    bool StartDriver();
    bool StopDriver();
    bool AddReference();
    /// Number of other processes that still hold the driver; 0xFFFFFFFF on failure.
    uint32_t ReleaseReference();
    /// Path of the driver file that matches the system, beside the host's executable; room for 256 characters.
    bool GetDriverPath(wchar_t* pszDriverPath);
    bool InitPCIHeader();

private:
    static constexpr uint32_t kMaxPath = 256;

    bool _HasStopped(const platform::CServiceHandle& rService);
    bool _HasGone(const platform::CServiceHandle& rManager);
    void _InstallAndOpenDriver();
    bool _ProbePciBase();
    uint16_t _ListedSMBusBase() const;
    /// False when there is no memory for what was found.
    bool _ScanPci();
    bool _FilePciFunction(const protocol::CPciRecord& rRecord);
    uint64_t _EcamAddress(uint32_t uBus, uint32_t uDevice, uint32_t uFunction, uint32_t uOffset) const;
    bool _Port(uint32_t uCode, protocol::CPortBlock& rParam, uint32_t uOutSize, uint32_t& ruReturned);

    platform::CDriverChannel m_hDriver;
    uint16_t m_SMBusBase = 0;  ///< I/O base of the SMBus host controller; 0: none
    bool m_bIsWow64 = false;
    platform::CSemaphoreHandle m_hSemaphore;
    CPatience m_Patience;              ///< with the service manager
    uint64_t m_ullPCIBaseAddress = 0;  ///< ECAM base; 0: unknown or unusable
    std::map<uint32_t, protocol::CMapBlock> m_MapAddrList;
    std::map<uint32_t, protocol::CAllocateBlock> m_AllocateAddrList;
    std::multimap<uint32_t, protocol::CPciRecord> m_PciFunctions;
};

/// The one driver handler of the process.
CDriverHandler& g_GetDriverHandler();

}  // namespace vxt
