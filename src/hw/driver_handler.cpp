// The plain accesses. Start-up and shut-down are in driver_start.cpp, the service in driver_service.cpp, PCI configuration
// in driver_pci.cpp, the SMBus in driver_smbus.cpp.
#include "hw/driver_handler.h"

#include <bit>
#include <cstring>

#include "api/log/log_checks.h"
#include "hw/request_buffer.h"
#include "registers/no_throw.h"
#include "registers/scope_exit.h"

namespace vxt {

static_assert(std::endian::native == std::endian::little);  // blocks are sent as they lie in memory

using AllocateMemoryParam = protocol::CAllocateBlock;
using MapMemoryParam = protocol::CMapBlock;
using MemoryParam = protocol::CMemoryHeader;

namespace {
constexpr uint32_t kGiveBackSize = 12;  ///< of a mapping that could not be filed

/// What files a block once the driver has answered; none when there is no memory for it. Made before the request: nothing
/// of the driver's gets lost for want of memory.
template <class TBlock> typename std::map<uint32_t, TBlock>::node_type g_NewNode(const TBlock& rBlock) {
    std::map<uint32_t, TBlock> One;
    if (!g_NoThrow([&] { One.try_emplace(0, rBlock); })) return {};
    return One.extract(One.begin());
}
}  // namespace

CDriverHandler& g_GetDriverHandler() {
    static CDriverHandler s_DriverHandler;
    return s_DriverHandler;
}

bool CDriverHandler::_Port(uint32_t uCode, protocol::CPortBlock& rParam, uint32_t uOutSize, uint32_t& ruReturned) {
    return platform::ControlDriver(m_hDriver, uCode, &rParam, sizeof(rParam), &rParam, uOutSize, ruReturned);
}

// Three overloads per direction differ in the width alone; the checks stand in the overload so that they carry its name.
// clang-format off
#define VXT_PORT_OPERATIONS(TValue)                                                                              \
    bool CDriverHandler::WritePort(uint16_t usPort, TValue Value) {                                              \
        protocol::CPortBlock Param{usPort, sizeof(Value), Value};                                                \
        uint32_t dwBytesReturned = 0;                                                                            \
        const bool bRetCode = _Port(protocol::kWritePort, Param, 0, dwBytesReturned);                            \
        LOG_PROCESS_ERROR(bRetCode);                                                                             \
        return true;                                                                                             \
    }                                                                                                            \
    bool CDriverHandler::ReadPort(uint16_t usPort, TValue& rValue) {                                             \
        protocol::CPortBlock Param{usPort, sizeof(rValue), 0};                                                   \
        uint32_t dwBytesReturned = 0;                                                                            \
        const bool bRetCode = _Port(protocol::kReadPort, Param, sizeof(Param), dwBytesReturned);                 \
        LOG_PROCESS_ERROR(bRetCode);                                                                             \
        LOG_PROCESS_ERROR(dwBytesReturned == sizeof(Param), "dwBytesReturned == sizeof(Param)");            \
        rValue = static_cast<TValue>(Param.uValue);                                                              \
        return true;                                                                                             \
    }
// clang-format on
VXT_PORT_OPERATIONS(uint32_t)
VXT_PORT_OPERATIONS(uint16_t)
VXT_PORT_OPERATIONS(uint8_t)
#undef VXT_PORT_OPERATIONS

bool CDriverHandler::RDMSR(uint32_t uIndex, uint32_t& ruLow, uint32_t& ruHigh) {
    protocol::CMsrBlock Param{uIndex, 0, 0};
    uint32_t dwBytesReturned = 0;
    const bool bRetCode = platform::ControlDriver(m_hDriver, protocol::kReadMsr, &Param, sizeof(Param), &Param,
                                                  sizeof(Param), dwBytesReturned);
    LOG_PROCESS_ERROR(bRetCode);
    LOG_PROCESS_ERROR(dwBytesReturned == sizeof(Param));
    ruLow = Param.uLow;
    ruHigh = Param.uHigh;
    return true;
}

bool CDriverHandler::WRMSR(uint32_t uIndex, uint32_t uLow, uint32_t uHigh) {
    protocol::CMsrBlock Param{uIndex, uLow, uHigh};
    uint32_t dwBytesReturned = 0;
    const bool bRetCode =
        platform::ControlDriver(m_hDriver, protocol::kWriteMsr, &Param, sizeof(Param), nullptr, 0, dwBytesReturned);
    LOG_PROCESS_ERROR(bRetCode);
    LOG_PROCESS_ERROR(dwBytesReturned == 0);
    return true;
}

uint32_t CDriverHandler::AllocatePhysicalMemory(uint32_t a, uint32_t b, uint32_t c, uint32_t d, uint32_t e) {
    auto Node = g_NewNode(AllocateMemoryParam{{a, b, c, d}, 0, e, 0, 0, 0});
    LOG_PROCESS_ERROR(Node, "pParam");
    AllocateMemoryParam* const pParam = &Node.mapped();
    uint32_t dwBytesReturned = 0;
    const bool bRetCode = platform::ControlDriver(m_hDriver, protocol::kAllocateMemory, pParam, sizeof(*pParam), pParam,
                                                  sizeof(*pParam), dwBytesReturned);
    LOG_PROCESS_ERROR(bRetCode);
    CScopeExit GiveBack([&] {
        if (pParam->ullAddress && pParam->ullHandle)
            platform::ControlDriver(m_hDriver, protocol::kFreeMemory, pParam, sizeof(*pParam), nullptr, 0,
                                    dwBytesReturned);
    });
    LOG_PROCESS_ERROR(dwBytesReturned == sizeof(AllocateMemoryParam));
    const uint32_t uAddress = static_cast<uint32_t>(pParam->ullAddress);
    LOG_PROCESS_ERROR(!m_AllocateAddrList.contains(uAddress), "InsRet.second");
    Node.key() = uAddress;
    m_AllocateAddrList.insert(std::move(Node));
    GiveBack.Dismiss();
    return uAddress;
}

bool CDriverHandler::FreePhysicalMemory(uint32_t uAddress) {
    const auto it = m_AllocateAddrList.find(uAddress);
    LOG_PROCESS_ERROR(it != m_AllocateAddrList.end());
    uint32_t dwBytesReturned = 0;
    const bool bRetCode = platform::ControlDriver(m_hDriver, protocol::kFreeMemory, &it->second,
                                                  sizeof(AllocateMemoryParam), nullptr, 0, dwBytesReturned);
    LOG_PROCESS_ERROR(bRetCode);
    LOG_PROCESS_ERROR(dwBytesReturned == 0);
    m_AllocateAddrList.erase(it);
    return true;
}

uint32_t CDriverHandler::MapPhysicalMemory(uint32_t uPhysicalLow, uint32_t uPhysicalHigh, uint32_t uSize) {
    auto Node = g_NewNode(MapMemoryParam{uPhysicalLow, uPhysicalHigh, 0, uSize, 0, 0});
    LOG_PROCESS_ERROR(Node, "pParam");
    MapMemoryParam* const pParam = &Node.mapped();
    uint32_t dwBytesReturned = 0;
    const bool bRetCode = platform::ControlDriver(m_hDriver, protocol::kMapMemory, pParam, sizeof(*pParam), pParam,
                                                  sizeof(*pParam), dwBytesReturned);
    LOG_PROCESS_ERROR(bRetCode);
    CScopeExit GiveBack([&] {
        // Kept: this request carries the first 12 bytes of the block only.
        if (pParam->ullAddress && pParam->ullHandle)
            platform::ControlDriver(m_hDriver, protocol::kUnmapMemory, pParam, kGiveBackSize, nullptr, 0,
                                    dwBytesReturned);
    });
    LOG_PROCESS_ERROR(dwBytesReturned == sizeof(MapMemoryParam));
    const uint32_t uAddress = static_cast<uint32_t>(pParam->ullAddress);
    LOG_PROCESS_ERROR(!m_MapAddrList.contains(uAddress), "InsRet.second");
    Node.key() = uAddress;
    m_MapAddrList.insert(std::move(Node));
    GiveBack.Dismiss();
    return uAddress;
}

bool CDriverHandler::UnmapPhysicalMemory(uint32_t uAddress) {
    const auto it = m_MapAddrList.find(uAddress);
    LOG_PROCESS_ERROR(it != m_MapAddrList.end());
    uint32_t dwBytesReturned = 0;
    const bool bRetCode = platform::ControlDriver(m_hDriver, protocol::kUnmapMemory, &it->second,
                                                  sizeof(MapMemoryParam), nullptr, 0, dwBytesReturned);
    LOG_PROCESS_ERROR(bRetCode);
    LOG_PROCESS_ERROR(dwBytesReturned == 0);
    m_MapAddrList.erase(it);
    return true;
}

uint64_t CDriverHandler::GetMappedAddress(uint32_t uAddress) const {
    const auto it = m_MapAddrList.find(uAddress);
    return it == m_MapAddrList.end() ? 0 : it->second.ullAddress;
}

bool CDriverHandler::ReadMemory(uint64_t ullPhysical, uint32_t uSize, void* pData) {
    LOG_PROCESS_ERROR(pData);
    CRequestBuffer<MemoryParam> Buffer(uSize);
    MemoryParam* const pParam = Buffer.Header();
    LOG_PROCESS_ERROR(pParam);
    *pParam = {ullPhysical, uSize};
    uint32_t dwBytesReturned = 0;
    const bool bRetCode = platform::ControlDriver(m_hDriver, protocol::kReadMemory, pParam, Buffer.Size(), pParam,
                                                  Buffer.Size(), dwBytesReturned);
    LOG_PROCESS_ERROR(bRetCode);
    if (dwBytesReturned == 0 || pParam->uSize == 0) return false;  // nothing answers there
    LOG_PROCESS_ERROR(dwBytesReturned == sizeof(MemoryParam) + uSize);
    std::memcpy(pData, Buffer.Data(), uSize);
    return true;
}

bool CDriverHandler::WriteMemory(uint64_t ullPhysical, uint32_t uSize, const void* pData) {
    LOG_PROCESS_ERROR(pData);
    CRequestBuffer<MemoryParam> Buffer(uSize);
    MemoryParam* const pParam = Buffer.Header();
    LOG_PROCESS_ERROR(pParam);
    *pParam = {ullPhysical, uSize};
    std::memcpy(Buffer.Data(), pData, uSize);
    uint32_t dwBytesReturned = 0;
    const bool bRetCode =
        platform::ControlDriver(m_hDriver, protocol::kWriteMemory, pParam, Buffer.Size(), nullptr, 0, dwBytesReturned);
    LOG_PROCESS_ERROR(bRetCode);
    LOG_PROCESS_ERROR(dwBytesReturned == 0);
    return true;
}

}  // namespace vxt
