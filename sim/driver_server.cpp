#include "driver_server.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <iterator>
#include <optional>

namespace vxtsim {

namespace {

// Offsets in the parameter blocks, in bytes.
namespace Msr {
constexpr size_t kIndex = 0, kLow = 4, kHigh = 8;
}
namespace Port {
constexpr size_t kPort = 0, kWidth = 2, kValue = 4;
}
namespace Memory {
constexpr size_t kAddress = 0, kLength = 8, kHeader = 12;
}
namespace Pci {
constexpr size_t kBus = 0, kDevice = 4, kFunction = 8, kOffset = 12, kLength = 16, kHeader = 20;
}
namespace Map {
constexpr size_t kAddress = 0, kSize = 12, kMapped = 16, kHandle = 24, kBlock = 32, kGivenBackAtOnce = 12;
}
namespace Allocate {
constexpr size_t kAddress = 32, kHandle = 40, kBlock = 48;
}
namespace Enumerate {
constexpr size_t kBase = 0, kBus = 8, kDevice = 12, kFunction = 16, kCapacity = 20, kCount = 24, kRecords = 28,
                 kBlock = 3356;
constexpr size_t kRecord = 52, kHeaderInRecord = 12, kHeaderBytes = 40;
constexpr uint32_t kMaximumRecords = 64, kBuses = 64;
static_assert(kRecords + kMaximumRecords * kRecord == kBlock && kHeaderInRecord + kHeaderBytes == kRecord);
}  // namespace Enumerate

constexpr uint32_t kDevices = 32, kFunctions = 8, kPciBytes = 4096, kPorts = 0x10000;
constexpr uint64_t kFaultDelay = 50'000'000;
constexpr uint64_t kFirstAllocation = 0xC0000000, kAllocationStep = 0x1000, kAllocationPlaces = 0x20000,
                   kMaximumAllocations = 4096;

uint64_t g_Get(std::span<const uint8_t> Block, size_t uOffset, size_t uBytes) {
    uint64_t ullValue = 0;
    for (size_t i = uBytes; i-- > 0;) ullValue = ullValue << 8 | Block[uOffset + i];
    return ullValue;
}
uint32_t g_Get32(std::span<const uint8_t> Block, size_t uOffset) {
    return static_cast<uint32_t>(g_Get(Block, uOffset, 4));
}

void g_Put(std::span<uint8_t> Block, size_t uOffset, size_t uBytes, uint64_t ullValue) {
    for (size_t i = 0; i < uBytes; ++i) Block[uOffset + i] = static_cast<uint8_t>(ullValue >> (8 * i));
}

CControlReply g_Done(size_t uReturned) { return {true, static_cast<uint32_t>(uReturned)}; }
constexpr CControlReply kRefused{true, 0};  ///< the hardware said no
constexpr CControlReply kFailedCall{};

}  // namespace

/// One request on its way. `Out` holds the input already, as the buffered method has it.
struct CDriverServer::CRequest {
    uint32_t uCore;
    std::span<const uint8_t> In;
    std::span<uint8_t> Out;
    bool bDrop, bOnes;  ///< faults: the write does not happen, the read gives all ones

    void Ones(size_t uOffset, size_t uBytes) const {
        if (bOnes) std::ranges::fill(Out.subspan(uOffset, uBytes), uint8_t{0xFF});
    }
};

/// A request of the protocol: its code, the sizes of its block and who serves it. Blocks of variable size end with as
/// many data bytes as their 32-bit length field says.
struct CDriverServer::CRow {
    uint32_t uCode;
    bool bAnswers;  ///< the block comes back; otherwise nothing does
    size_t uBlock;
    size_t uLength;  ///< offset of the length field; 0: the block has one size
    CControlReply (CDriverServer::*pServe)(CRequest& rRequest);
    const char* pszVerb;
    std::string (*pSubject)(uint32_t uCore, std::span<const uint8_t> In);  ///< what it is about, in words
    /// What is to be written, without blanks around; null where the request writes no register or memory.
    std::string (*pData)(std::span<const uint8_t> In);
    bool bReads;  ///< registers or memory, where all ones can be read
};

namespace {

std::string g_Format(const char* pszFormat, ...) __attribute__((format(printf, 1, 2)));
std::string g_Format(const char* pszFormat, ...) {
    char szText[96];
    va_list Arguments;
    va_start(Arguments, pszFormat);
    std::vsnprintf(szText, sizeof(szText), pszFormat, Arguments);
    va_end(Arguments);
    return szText;
}

void g_AppendBytes(std::string& rsText, std::span<const uint8_t> Bytes) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    for (const uint8_t ucByte : Bytes) rsText += {kDigits[ucByte >> 4], kDigits[ucByte & 15]};
}

// Requests in words, for remarks.
std::string g_MsrSubject(uint32_t uCore, std::span<const uint8_t> In) {
    return g_Format("MSR %08X on core %u", g_Get32(In, Msr::kIndex), uCore);
}
std::string g_MsrData(std::span<const uint8_t> In) {
    return g_Format("%08X %08X", g_Get32(In, Msr::kHigh), g_Get32(In, Msr::kLow));
}
std::string g_PortSubject(uint32_t, std::span<const uint8_t> In) {
    return g_Format("port %04Xh", static_cast<uint32_t>(g_Get(In, Port::kPort, 2)));
}
std::string g_PortData(std::span<const uint8_t> In) {
    const auto uWidth = static_cast<size_t>(std::min<uint64_t>(g_Get(In, Port::kWidth, 2), 4));
    return g_Format("%0*X", static_cast<int>(2 * uWidth), static_cast<uint32_t>(g_Get(In, Port::kValue, uWidth)));
}
std::string g_PciSubject(uint32_t, std::span<const uint8_t> In) {
    return g_Format("PCI %02X:%02X.%X offset %02Xh", g_Get32(In, Pci::kBus), g_Get32(In, Pci::kDevice),
                    g_Get32(In, Pci::kFunction), g_Get32(In, Pci::kOffset));
}
std::string g_MemorySubject(uint32_t, std::span<const uint8_t> In) {
    return g_Format("memory %08llXh", static_cast<unsigned long long>(g_Get(In, Memory::kAddress, 8)));
}
template <size_t uHeader> std::string g_BytesData(std::span<const uint8_t> In) {
    constexpr size_t kShown = 64;
    std::string sText;
    g_AppendBytes(sText, In.subspan(uHeader).first(std::min(In.size() - uHeader, kShown)));
    return In.size() - uHeader > kShown ? sText + "..." : sText;
}
std::string g_MappedSubject(uint32_t, std::span<const uint8_t> In) {
    return g_Format("memory %08llXh", static_cast<unsigned long long>(g_Get(In, Map::kAddress, 8)));
}
std::string g_UnmappedSubject(uint32_t, std::span<const uint8_t>) { return "memory"; }
std::string g_BlockSubject(uint32_t, std::span<const uint8_t>) { return "a block of memory"; }
std::string g_FunctionsSubject(uint32_t, std::span<const uint8_t>) { return "the PCI functions"; }

}  // namespace

const CDriverServer::CRow CDriverServer::s_aRows[] = {
    {0x81112EE0, true, 12, 0, &CDriverServer::_ReadMsr, "read", g_MsrSubject, nullptr, true},
    {0x81112EE4, false, 12, 0, &CDriverServer::_WriteMsr, "write", g_MsrSubject, g_MsrData, false},
    {0x81112EE8, true, 8, 0, &CDriverServer::_ReadPort, "read", g_PortSubject, nullptr, true},
    {0x81112EEC, false, 8, 0, &CDriverServer::_WritePort, "write", g_PortSubject, g_PortData, false},
    {0x81112EF0, true, Map::kBlock, 0, &CDriverServer::_Map, "mapping", g_MappedSubject, nullptr, false},
    {0x81112EF4, false, Map::kBlock, 0, &CDriverServer::_Unmap, "unmapping", g_UnmappedSubject, nullptr, false},
    {0x81112EF4, false, Map::kGivenBackAtOnce, 0, &CDriverServer::_Unmap, "unmapping", g_UnmappedSubject, nullptr,
     false},
    {0x81112EF4, false, Allocate::kBlock, 0, &CDriverServer::_Unmap, "unmapping", g_UnmappedSubject, nullptr, false},
    {0x81112EF8, true, Pci::kHeader, Pci::kLength, &CDriverServer::_ReadPci, "read", g_PciSubject, nullptr, true},
    {0x81112EFC, false, Pci::kHeader, Pci::kLength, &CDriverServer::_WritePci, "write", g_PciSubject,
     g_BytesData<Pci::kHeader>, false},
    {0x81112F00, true, Pci::kHeader, Pci::kLength, &CDriverServer::_ReadPci, "read", g_PciSubject, nullptr, true},
    {0x81112F04, false, Pci::kHeader, Pci::kLength, &CDriverServer::_WritePci, "write", g_PciSubject,
     g_BytesData<Pci::kHeader>, false},
    {0x81112F08, true, Memory::kHeader, Memory::kLength, &CDriverServer::_ReadMemory, "read", g_MemorySubject, nullptr,
     true},
    {0x81112F0C, false, Memory::kHeader, Memory::kLength, &CDriverServer::_WriteMemory, "write", g_MemorySubject,
     g_BytesData<Memory::kHeader>, false},
    {0x81112F10, true, Allocate::kBlock, 0, &CDriverServer::_Allocate, "allocation", g_BlockSubject, nullptr, false},
    {0x81112F14, false, Allocate::kBlock, 0, &CDriverServer::_Free, "release", g_BlockSubject, nullptr, false},
    {0x81112F18, true, Enumerate::kBlock, 0, &CDriverServer::_Enumerate, "enumeration", g_FunctionsSubject, nullptr,
     false},
};

CControlReply CDriverServer::Control(uint32_t uCode, uint32_t uCore, std::span<const uint8_t> In,
                                     std::span<uint8_t> Out) {
    const std::lock_guard Lock(m_Lock);
    ++m_ullRequests;
    m_rMachine.Advance(kRequestNanoseconds);
    const CRow* const pRow = _FindRow(uCode, In, Out);
    const EFault eFault = m_pFaults ? m_pFaults->Next() : EFault::kNone;
    // Before the request is served: that overwrites its block.
    const std::string sRequest = eFault != EFault::kNone && m_Report ? _InWords(pRow, uCode, uCore, In) : "";
    bool bSuffered = eFault == EFault::kFail || eFault == EFault::kDelay;
    CControlReply Reply = kFailedCall;
    if (eFault == EFault::kDelay) m_rMachine.Advance(kFaultDelay);
    if (pRow && eFault != EFault::kFail) {
        CRequest Request{uCore, In, Out, eFault == EFault::kDropWrite, eFault == EFault::kAllOnes};
        if (pRow->bAnswers && Out.data() != In.data()) {
            std::ranges::copy(In, Out.begin());
            Request.In = Out;
        }
        Reply = (this->*pRow->pServe)(Request);
        bSuffered |= (eFault == EFault::kDropWrite && Reply.bSuccess && !pRow->bAnswers) ||
                     (eFault == EFault::kAllOnes && Reply.uReturned && pRow->bReads) ||
                     (eFault == EFault::kZeroLength && Reply.uReturned) ||
                     (eFault == EFault::kWrongCount && Reply.bSuccess);
        if (eFault == EFault::kZeroLength) Reply.uReturned = 0;
        if (eFault == EFault::kWrongCount && Reply.bSuccess)
            Reply.uReturned = Reply.uReturned ? Reply.uReturned - 1 : 1;
    }
    if (bSuffered && eFault != EFault::kDropWrite && eFault != EFault::kDelay) ++m_ullFailures;
    if (bSuffered && m_Report) m_Report(sRequest + " " + g_FaultOutcome(eFault));
    return Reply;
}

const CDriverServer::CRow* CDriverServer::_FindRow(uint32_t uCode, std::span<const uint8_t> In,
                                                   std::span<uint8_t> Out) const {
    constexpr uint32_t kNewPciRead = 0x81112F00, kNewPciWrite = 0x81112F04;
    if (!m_bKnowsNewPciRequests && (uCode == kNewPciRead || uCode == kNewPciWrite)) return nullptr;
    const auto pRow = std::ranges::find_if(s_aRows, [&](const CRow& rRow) {
        if (rRow.uCode != uCode || In.size() < rRow.uBlock || Out.size() != (rRow.bAnswers ? In.size() : 0))
            return false;
        const size_t uData = In.size() - rRow.uBlock;
        return rRow.uLength ? uData != 0 && uData == g_Get32(In, rRow.uLength) : uData == 0;
    });
    return pRow == std::end(s_aRows) ? nullptr : pRow;
}

std::string CDriverServer::_InWords(const CRow* pRow, uint32_t uCode, uint32_t uCore, std::span<const uint8_t> In) {
    if (!pRow) return g_Format("a request of code %08X, which the driver does not know,", uCode);
    const std::string sText = std::string(pRow->pszVerb) + " of " + pRow->pSubject(uCore, In);
    return pRow->pData ? sText + ", " + pRow->pData(In) + "," : sText;
}

uint64_t CDriverServer::FailureCount() const {
    const std::lock_guard Lock(m_Lock);
    return m_ullFailures;
}

uint64_t CDriverServer::RequestCount() const {
    const std::lock_guard Lock(m_Lock);
    return m_ullRequests;
}

size_t CDriverServer::AllocationCount() const {
    const std::lock_guard Lock(m_Lock);
    return m_Allocations.size();
}

CControlReply CDriverServer::_ReadMsr(CRequest& rRequest) {
    const uint32_t uIndex = g_Get32(rRequest.In, Msr::kIndex);
    _Trace("rdmsr %X %X", rRequest.uCore, uIndex);
    uint64_t ullValue = 0;
    if (!m_rMachine.ReadMsr(rRequest.uCore, uIndex, ullValue)) return kFailedCall;
    g_Put(rRequest.Out, Msr::kLow, 8, ullValue);
    rRequest.Ones(Msr::kLow, 8);
    return g_Done(rRequest.Out.size());
}

CControlReply CDriverServer::_WriteMsr(CRequest& rRequest) {
    const uint32_t uIndex = g_Get32(rRequest.In, Msr::kIndex);
    const uint32_t uLow = g_Get32(rRequest.In, Msr::kLow), uHigh = g_Get32(rRequest.In, Msr::kHigh);
    _Trace("wrmsr %X %X %08X %08X", rRequest.uCore, uIndex, uLow, uHigh);
    if (rRequest.bDrop) return g_Done(0);
    return m_rMachine.WriteMsr(rRequest.uCore, uIndex, uint64_t{uHigh} << 32 | uLow) ? g_Done(0) : kFailedCall;
}

CControlReply CDriverServer::_ReadPort(CRequest& rRequest) {
    const auto usPort = static_cast<uint16_t>(g_Get(rRequest.In, Port::kPort, 2));
    const auto uWidth = static_cast<uint32_t>(g_Get(rRequest.In, Port::kWidth, 2));
    if ((uWidth != 1 && uWidth != 2 && uWidth != 4) || usPort + uWidth > kPorts) return kFailedCall;
    _Trace("in %X %04X", uWidth, usPort);
    g_Put(rRequest.Out, Port::kValue, uWidth, m_rMachine.ReadPort(usPort, uWidth));
    rRequest.Ones(Port::kValue, uWidth);
    return g_Done(rRequest.Out.size());
}

CControlReply CDriverServer::_WritePort(CRequest& rRequest) {
    const auto usPort = static_cast<uint16_t>(g_Get(rRequest.In, Port::kPort, 2));
    const auto uWidth = static_cast<uint32_t>(g_Get(rRequest.In, Port::kWidth, 2));
    if ((uWidth != 1 && uWidth != 2 && uWidth != 4) || usPort + uWidth > kPorts) return kFailedCall;
    const auto uValue = static_cast<uint32_t>(g_Get(rRequest.In, Port::kValue, uWidth));
    _Trace("out %X %04X %0*X", uWidth, usPort, static_cast<int>(2 * uWidth), uValue);
    if (!rRequest.bDrop) m_rMachine.WritePort(usPort, uWidth, uValue);
    return g_Done(0);
}

CControlReply CDriverServer::_Map(CRequest& rRequest) {
    const uint64_t ullPhysical = g_Get(rRequest.In, Map::kAddress, 8);
    const uint32_t uSize = g_Get32(rRequest.In, Map::kSize);
    _Trace("map %llX %X", static_cast<unsigned long long>(ullPhysical), uSize);
    uint64_t ullHandle = 0;
    const uint64_t ullAddress = m_rMachine.Map(ullPhysical, uSize, ullHandle);
    if (ullAddress == 0) return kFailedCall;
    g_Put(rRequest.Out, Map::kMapped, 8, ullAddress);
    g_Put(rRequest.Out, Map::kHandle, 8, ullHandle);
    return g_Done(rRequest.Out.size());
}

CControlReply CDriverServer::_Unmap(CRequest& rRequest) {
    _Trace("unmap %X", static_cast<uint32_t>(rRequest.In.size()));
    if (rRequest.bDrop || rRequest.In.size() == Map::kGivenBackAtOnce)
        return g_Done(0);  // no handle in so short a block
    if (rRequest.In.size() == Allocate::kBlock)
        return m_Allocations.erase(g_Get(rRequest.In, Allocate::kHandle, 8)) ? g_Done(0) : kFailedCall;
    return m_rMachine.Unmap(g_Get(rRequest.In, Map::kHandle, 8)) ? g_Done(0) : kFailedCall;
}

namespace {

/// The function and offset that a configuration block names; nothing when no such place can exist.
std::optional<std::pair<CPciAddress, uint32_t>> g_PciPlace(std::span<const uint8_t> Block) {
    const uint32_t uBus = g_Get32(Block, Pci::kBus), uDevice = g_Get32(Block, Pci::kDevice);
    const uint32_t uFunction = g_Get32(Block, Pci::kFunction), uOffset = g_Get32(Block, Pci::kOffset);
    const bool bExists = uBus < 256 && uDevice < kDevices && uFunction < kFunctions && uOffset < kPciBytes &&
                         Block.size() - Pci::kHeader <= kPciBytes - uOffset;
    if (!bExists) return std::nullopt;
    return std::pair{
        CPciAddress{static_cast<uint8_t>(uBus), static_cast<uint8_t>(uDevice), static_cast<uint8_t>(uFunction)},
        uOffset};
}

/// Whether the processor can form every address of [address, address + size).
bool g_IsWithinReach(const CSimMachine& rMachine, uint64_t ullAddress, uint64_t ullSize) {
    constexpr uint32_t kUsualBits = 36;
    const uint32_t uBits = rMachine.Cpuid(0, 0x80000008).uEax & 0xFF;
    const uint64_t ullEnd = uint64_t{1} << std::min(uBits ? uBits : kUsualBits, 52u);
    return ullAddress < ullEnd && ullSize <= ullEnd - ullAddress;
}

}  // namespace

CControlReply CDriverServer::_ReadPci(CRequest& rRequest) {
    const uint32_t uSize = g_Get32(rRequest.In, Pci::kLength);
    _Trace("pcird %X:%02X.%X %X %X", g_Get32(rRequest.In, Pci::kBus), g_Get32(rRequest.In, Pci::kDevice),
           g_Get32(rRequest.In, Pci::kFunction), g_Get32(rRequest.In, Pci::kOffset), uSize);
    const auto Place = g_PciPlace(rRequest.In);
    if (!Place) return kRefused;
    m_rMachine.ReadPci(Place->first, Place->second, rRequest.Out.subspan(Pci::kHeader));
    rRequest.Ones(Pci::kHeader, uSize);
    return g_Done(rRequest.Out.size());
}

CControlReply CDriverServer::_WritePci(CRequest& rRequest) {
    const std::span<const uint8_t> Data = rRequest.In.subspan(Pci::kHeader);
    _Trace("pciwr %X:%02X.%X %X %X ", g_Get32(rRequest.In, Pci::kBus), g_Get32(rRequest.In, Pci::kDevice),
           g_Get32(rRequest.In, Pci::kFunction), g_Get32(rRequest.In, Pci::kOffset),
           g_Get32(rRequest.In, Pci::kLength));
    _TraceBytes(Data);
    const auto Place = g_PciPlace(rRequest.In);
    if (!Place) return kFailedCall;
    if (!rRequest.bDrop) m_rMachine.WritePci(Place->first, Place->second, Data);
    return g_Done(0);
}

CControlReply CDriverServer::_ReadMemory(CRequest& rRequest) {
    const uint64_t ullAddress = g_Get(rRequest.In, Memory::kAddress, 8);
    const uint32_t uSize = g_Get32(rRequest.In, Memory::kLength);
    _Trace("memrd %llX %X", static_cast<unsigned long long>(ullAddress), uSize);
    if (!g_IsWithinReach(m_rMachine, ullAddress, uSize)) return kRefused;
    m_rMachine.ReadMemory(ullAddress, rRequest.Out.subspan(Memory::kHeader));
    rRequest.Ones(Memory::kHeader, uSize);
    return g_Done(rRequest.Out.size());
}

CControlReply CDriverServer::_WriteMemory(CRequest& rRequest) {
    const uint64_t ullAddress = g_Get(rRequest.In, Memory::kAddress, 8);
    const std::span<const uint8_t> Data = rRequest.In.subspan(Memory::kHeader);
    _Trace("memwr %llX %X ", static_cast<unsigned long long>(ullAddress), static_cast<uint32_t>(Data.size()));
    _TraceBytes(Data);
    if (!g_IsWithinReach(m_rMachine, ullAddress, Data.size())) return kFailedCall;
    if (!rRequest.bDrop) m_rMachine.WriteMemory(ullAddress, Data);
    return g_Done(0);
}

CControlReply CDriverServer::_Allocate(CRequest& rRequest) {
    _Trace("alloc");
    if (m_Allocations.size() >= kMaximumAllocations) return kFailedCall;
    // What the arguments ask for is between the client and the hardware it drives: every block gets a place of its own.
    const uint64_t ullNumber = m_ullLastAllocation++;
    const uint64_t ullHandle = ~ullNumber;
    m_Allocations.insert(ullHandle);
    g_Put(rRequest.Out, Allocate::kAddress, 8, kFirstAllocation + ullNumber % kAllocationPlaces * kAllocationStep);
    g_Put(rRequest.Out, Allocate::kHandle, 8, ullHandle);
    return g_Done(rRequest.Out.size());
}

CControlReply CDriverServer::_Free(CRequest& rRequest) {
    _Trace("free");
    if (rRequest.bDrop) return g_Done(0);
    return m_Allocations.erase(g_Get(rRequest.In, Allocate::kHandle, 8)) ? g_Done(0) : kFailedCall;
}

CControlReply CDriverServer::_Enumerate(CRequest& rRequest) {
    _Trace("enumpci");
    const uint64_t ullBase = g_Get(rRequest.In, Enumerate::kBase, 8);
    uint32_t uBus = g_Get32(rRequest.In, Enumerate::kBus), uDevice = g_Get32(rRequest.In, Enumerate::kDevice);
    uint32_t uFunction = g_Get32(rRequest.In, Enumerate::kFunction);
    const uint32_t uCapacity = g_Get32(rRequest.In, Enumerate::kCapacity);
    const bool bValid = uBus <= Enumerate::kBuses && uDevice < kDevices && uFunction < kFunctions && uCapacity != 0 &&
                        uCapacity <= Enumerate::kMaximumRecords && g_Get32(rRequest.In, Enumerate::kCount) == uCapacity;
    if (!bValid) return kFailedCall;
    uint32_t uCount = 0;
    while (uBus < Enumerate::kBuses && uCount < uCapacity) {
        const uint64_t ullFunction = ullBase + (uBus << 20 | uDevice << 15 | uFunction << 12);
        const std::span<uint8_t> Record =
            rRequest.Out.subspan(Enumerate::kRecords + uCount * Enumerate::kRecord, Enumerate::kRecord);
        uint8_t aucHeader[Enumerate::kHeaderBytes];
        m_rMachine.ReadMemory(ullFunction, std::span(aucHeader).first(4));
        if (g_Get(aucHeader, 0, 2) != 0xFFFF) {
            m_rMachine.ReadMemory(ullFunction, aucHeader);
            g_Put(Record, 0, 4, uBus), g_Put(Record, 4, 4, uDevice), g_Put(Record, 8, 4, uFunction);
            std::ranges::copy(aucHeader, Record.begin() + Enumerate::kHeaderInRecord);
            ++uCount;
        }
        if (++uFunction == kFunctions) uFunction = 0, ++uDevice;
        if (uDevice == kDevices) uDevice = 0, ++uBus;
    }
    g_Put(rRequest.Out, Enumerate::kBus, 4, uBus);
    g_Put(rRequest.Out, Enumerate::kDevice, 4, uDevice);
    g_Put(rRequest.Out, Enumerate::kFunction, 4, uFunction);
    g_Put(rRequest.Out, Enumerate::kCount, 4, uCount);
    return g_Done(rRequest.Out.size());
}

void CDriverServer::_Trace(const char* pszFormat, ...) {
    if (!m_pTrace) return;
    char szLine[96];
    va_list Arguments;
    va_start(Arguments, pszFormat);
    std::vsnprintf(szLine, sizeof(szLine), pszFormat, Arguments);
    va_end(Arguments);
    m_pTrace->emplace_back(szLine);
}

void CDriverServer::_TraceBytes(std::span<const uint8_t> Bytes) {
    if (m_pTrace) g_AppendBytes(m_pTrace->back(), Bytes);
}

}  // namespace vxtsim
