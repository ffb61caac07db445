#include "machine.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <numbers>
#include <optional>
#include <set>

#include "acpi_layout.h"
#include "local_apic.h"
#include "models/attach.h"

namespace vxtsim {

namespace {

constexpr uint64_t kPage = 4096;
constexpr size_t kPciBytes = 256;
constexpr uint8_t kNobody = 0xFF;                                        ///< what an undriven bus reads
constexpr uint32_t kMaximumMapping = 16u << 20, kMaximumMappings = 128;  // below 4 GiB
constexpr uint64_t kFirstMapping = 0x20000000, kMappingStep = 0x01000000;

/// Bytes of the configuration header that stay as the chip has them: IDs, class code and revision, header type.
constexpr bool g_IsReadOnlyPciByte(uint32_t uOffset) {
    return uOffset < 4 || (uOffset >= 8 && uOffset < 12) || uOffset == 14;
}

uint32_t g_Load(const uint8_t* pBytes) {
    uint32_t uValue = 0;
    for (int i = 3; i >= 0; --i) uValue = uValue << 8 | pBytes[i];
    return uValue;
}
void g_Store(uint8_t* pBytes, uint32_t uValue) {
    for (int i = 0; i < 4; ++i) pBytes[i] = static_cast<uint8_t>(uValue >> (8 * i));
}

/// A window of memory-mapped configuration space (one allocation of the MCFG table).
struct CEcamWindow {
    uint64_t ullBase;  ///< of bus 0
    uint8_t ucFirstBus, ucLastBus;
};

struct CMapping {
    uint64_t ullPhysical;
    uint32_t uSize;
    uint64_t ullAddress;
    uint32_t* pBacking;  ///< null for a native client
};

}  // namespace

struct CSimMachine::CState {
    CState(const CMachineDescription& rDescription)
        : Msr(rDescription.uCores),
          Pci(rDescription.Pci),
          Memory(rDescription.Memory),
          Ports(rDescription.Ports),
          oFirmware(rDescription.oFirmware),
          Loads(rDescription.uCores),
          Acpi(g_LayOutAcpi(rDescription.Acpi)),
          Apic(rDescription.dReferenceMHz) {
        for (uint32_t uCore = 0; uCore < rDescription.uCores; ++uCore)
            for (const uint32_t uWhich : {kAllCores, uCore})
                for (auto it = rDescription.Msr.lower_bound({uWhich, 0});
                     it != rDescription.Msr.end() && it->first.first == uWhich; ++it)
                    Msr[uCore][it->first.second] = it->second;
        for (size_t i = 0; i < std::min(Loads.size(), rDescription.Loads.size()); ++i)
            Loads[i] = rDescription.Loads[i] / 100.0;
        for (auto& [Address, rFunction] : Pci) rFunction.resize(rFunction.size() <= kPciBytes ? kPciBytes : kPage);
        Memory.insert(Acpi.Regions.begin(), Acpi.Regions.end());
        for (const auto& [sSignature, Table] : rDescription.Acpi) {
            if (sSignature == "APIC" && Table.size() >= 40) ullApicBase = g_AcpiNumber(Table, 36, 4);
            for (size_t uEntry = 44; sSignature == "MCFG" && uEntry + 12 <= Table.size(); uEntry += 16)
                // A window at 0 would hide the memory there.
                if (const uint64_t ullBase = g_AcpiNumber(Table, uEntry, 8))
                    Ecam.push_back({ullBase, Table[uEntry + 10], Table[uEntry + 11]});
        }
        // The processor's own functions of this family answer configuration cycles only, never memory accesses.
        const auto it = rDescription.Cpuid.find({1, 0});
        bEcamReachesProcessor = it == rDescription.Cpuid.end() || (it->second.uEax >> 20 & 0xFF) != 0;
    }

    /// What a physical address belongs to.
    std::optional<std::pair<CPciAddress, uint32_t>> FindEcam(uint64_t ullAddress) const {
        for (const auto& [ullBase, ucFirstBus, ucLastBus] : Ecam) {
            const uint64_t ullOffset = ullAddress - ullBase;
            if (ullAddress < ullBase || ullOffset >> 20 < ucFirstBus || ullOffset >> 20 > ucLastBus) continue;
            return std::pair{
                CPciAddress{static_cast<uint8_t>(ullOffset >> 20), static_cast<uint8_t>(ullOffset >> 15 & 31),
                            static_cast<uint8_t>(ullOffset >> 12 & 7)},
                static_cast<uint32_t>(ullOffset & (kPage - 1))};
        }
        return std::nullopt;
    }
    bool IsApic(uint64_t ullAddress) const {
        return ullApicBase && ullAddress >= ullApicBase && ullAddress - ullApicBase < kPage;
    }

    /// Calls `Part(region bytes, offset in the access, count)` for what described regions share with [address, address
    /// + size).
    template <class TPart> void ForEachRegion(uint64_t ullAddress, size_t uSize, TPart Part) {
        for (auto& [ullStart, rData] : Memory) {
            const uint64_t ullFirst = std::max(ullStart, ullAddress);
            const uint64_t ullSkip = ullFirst - ullStart, ullOffset = ullFirst - ullAddress;
            if (ullSkip >= rData.size() || ullOffset >= uSize) continue;
            Part(&rData[static_cast<size_t>(ullSkip)], static_cast<size_t>(ullOffset),
                 static_cast<size_t>(std::min<uint64_t>(rData.size() - ullSkip, uSize - ullOffset)));
        }
    }

    /// Where a register of a mapping lies.
    uint64_t PhysicalOf(uint64_t ullAddress) const {
        for (const auto& [ullHandle, rMapping] : Mappings)
            if (ullAddress >= rMapping.ullAddress && ullAddress - rMapping.ullAddress + 4 <= rMapping.uSize)
                return rMapping.ullPhysical + (ullAddress - rMapping.ullAddress);
        std::fprintf(stderr, "simulated PC: access to address %llX, which is not mapped\n",
                     static_cast<unsigned long long>(ullAddress));
        std::abort();
    }

    std::vector<std::map<uint32_t, uint64_t>> Msr;  ///< by core
    std::set<uint32_t> ReadOnlyMsr;
    std::map<CPciAddress, std::vector<uint8_t>> Pci;
    std::map<uint64_t, std::vector<uint8_t>> Memory;
    std::map<uint16_t, uint8_t> Ports;
    std::optional<CFirmwareDescription> oFirmware;
    std::vector<double> Loads;  ///< by core
    uint64_t ullRested = 0;     ///< ns
    CAcpiLayout Acpi;
    std::vector<CEcamWindow> Ecam;
    bool bEcamReachesProcessor = true;
    CLocalApic Apic;
    uint64_t ullApicBase = 0;
    std::map<uint64_t, CMapping> Mappings;  ///< by handle
    CMappingProvider* pProvider = nullptr;
};

CSimMachine::CSimMachine(CMachineDescription Description)
    : m_Description(std::move(Description)),
      m_pState(std::make_unique<CState>(m_Description)),
      m_dReferenceMHz(m_Description.dReferenceMHz) {
    g_AttachModels(*this);
}

CSimMachine::~CSimMachine() = default;

void CSimMachine::PowerCycle() {
    const std::lock_guard Lock(m_Lock);
    if (!m_pAtPowerOn) m_pAtPowerOn = std::make_unique<const CState>(m_Description);
    CMappingProvider* const pProvider = m_pState->pProvider;
    *m_pState = *m_pAtPowerOn;
    m_pState->pProvider = pProvider;
    m_ullNow = 0, m_dReferenceMHz = m_Description.dReferenceMHz;
    m_ullErrorsDue = 0, m_bHung = false, m_sHangReason.clear();
    m_Models.clear();
    g_AttachModels(*this);
}

CCpuidResult CSimMachine::Cpuid(uint32_t uCore, uint32_t uLeaf, uint32_t uSubleaf) const {
    auto it = m_Description.Cpuid.find({uLeaf, uSubleaf});
    const auto itNext = m_Description.Cpuid.upper_bound({uLeaf, 0});
    const bool bPlain =
        itNext == m_Description.Cpuid.end() || itNext->first.first != uLeaf;  // no subleaves: ECX is ignored
    if (bPlain) it = m_Description.Cpuid.find({uLeaf, 0});
    if (it == m_Description.Cpuid.end()) return {};
    CCpuidResult Result = it->second;
    if (uLeaf == 1) Result.uEbx = (Result.uEbx & 0x00FFFFFF) | uCore << 24;  // initial APIC ID
    return Result;
}

// --- model-specific registers

bool CSimMachine::ReadMsr(uint32_t uCore, uint32_t uIndex, uint64_t& rullValue) {
    const std::lock_guard Lock(m_Lock);
    if (uCore >= ProcessorCount()) return false;
    for (const auto& pModel : m_Models)
        if (pModel->ReadMsr(uCore, uIndex, rullValue)) return true;
    const auto it = m_pState->Msr[uCore].find(uIndex);
    if (it == m_pState->Msr[uCore].end()) return false;
    rullValue = it->second;
    return true;
}

bool CSimMachine::WriteMsr(uint32_t uCore, uint32_t uIndex, uint64_t ullValue) {
    const std::lock_guard Lock(m_Lock);
    if (uCore >= ProcessorCount() || m_pState->ReadOnlyMsr.contains(uIndex)) return false;
    for (const auto& pModel : m_Models)
        if (pModel->WriteMsr(uCore, uIndex, ullValue)) return Touch(), true;
    const auto it = m_pState->Msr[uCore].find(uIndex);
    if (it == m_pState->Msr[uCore].end()) return false;
    _Store(it->second, ullValue);
    return true;
}

uint64_t& CSimMachine::Msr(uint32_t uCore, uint32_t uIndex) {
    const std::lock_guard Lock(m_Lock);
    return m_pState->Msr.at(uCore)[uIndex];
}

bool CSimMachine::HasMsr(uint32_t uCore, uint32_t uIndex) const {
    const std::lock_guard Lock(m_Lock);
    return uCore < ProcessorCount() && m_pState->Msr[uCore].contains(uIndex);
}

void CSimMachine::RemoveMsr(uint32_t uCore, uint32_t uIndex) {
    const std::lock_guard Lock(m_Lock);
    m_pState->Msr.at(uCore).erase(uIndex);
}

void CSimMachine::SetMsrReadOnly(uint32_t uIndex) {
    const std::lock_guard Lock(m_Lock);
    m_pState->ReadOnlyMsr.insert(uIndex);
}

// --- ports

uint32_t CSimMachine::ReadPort(uint16_t usPort, uint32_t uWidth) {
    const std::lock_guard Lock(m_Lock);
    uint32_t uValue = 0;
    for (const auto& pModel : m_Models)
        if (pModel->ReadPort(usPort, uWidth, uValue)) return uValue;
    if (uWidth == 1) {
        const auto it = m_pState->Ports.find(usPort);
        return it == m_pState->Ports.end() ? kNobody : it->second;
    }
    for (uint32_t i = 0; i < uWidth; ++i) uValue |= ReadPort(static_cast<uint16_t>(usPort + i), 1) << (8 * i);
    return uValue;
}

void CSimMachine::WritePort(uint16_t usPort, uint32_t uWidth, uint32_t uValue) {
    const std::lock_guard Lock(m_Lock);
    for (const auto& pModel : m_Models)
        if (pModel->WritePort(usPort, uWidth, uValue)) return;
    if (uWidth == 1) {
        const auto it = m_pState->Ports.find(usPort);
        if (it != m_pState->Ports.end()) _Store(it->second, static_cast<uint8_t>(uValue));
        return;
    }
    for (uint32_t i = 0; i < uWidth; ++i) WritePort(static_cast<uint16_t>(usPort + i), 1, uValue >> (8 * i) & 0xFF);
}

// --- PCI configuration space

void CSimMachine::ReadPci(CPciAddress Address, uint32_t uOffset, std::span<uint8_t> Data) {
    const std::lock_guard Lock(m_Lock);
    std::ranges::fill(Data, kNobody);
    const auto it = m_pState->Pci.find(Address);
    if (it == m_pState->Pci.end()) return;
    const std::vector<uint8_t>& rFunction = it->second;
    for (size_t i = 0; i < Data.size() && uOffset + i < rFunction.size();) {
        const uint32_t uByte = static_cast<uint32_t>(uOffset + i), uDword = uByte & ~3u;
        uint32_t uValue = g_Load(&rFunction[uDword]);
        (void)std::ranges::any_of(m_Models,
                                  [&](const auto& pModel) { return pModel->ReadPci(Address, uDword, uValue); });
        for (uint32_t uPart = uByte - uDword; uPart < 4 && i < Data.size(); ++uPart, ++i)
            Data[i] = static_cast<uint8_t>(uValue >> (8 * uPart));
    }
}

void CSimMachine::WritePci(CPciAddress Address, uint32_t uOffset, std::span<const uint8_t> Data) {
    const std::lock_guard Lock(m_Lock);
    const auto it = m_pState->Pci.find(Address);
    if (it == m_pState->Pci.end()) return;
    std::vector<uint8_t>& rFunction = it->second;
    for (size_t i = 0; i < Data.size() && uOffset + i < rFunction.size();) {
        const uint32_t uByte = static_cast<uint32_t>(uOffset + i), uDword = uByte & ~3u;
        std::array<uint8_t, 4> Bytes;
        std::copy_n(&rFunction[uDword], 4, Bytes.begin());
        for (uint32_t uPart = uByte - uDword; uPart < 4 && i < Data.size(); ++uPart, ++i)
            if (!g_IsReadOnlyPciByte(uDword + uPart)) Bytes[uPart] = Data[i];
        const uint32_t uValue = g_Load(Bytes.data());
        if (!std::ranges::any_of(m_Models,
                                 [&](const auto& pModel) { return pModel->WritePci(Address, uDword, uValue); }))
            SetPciDword(Address, uDword, uValue);
    }
}

uint32_t CSimMachine::PciDword(CPciAddress Address, uint32_t uOffset) const {
    const std::lock_guard Lock(m_Lock);
    const auto it = m_pState->Pci.find(Address);
    uOffset &= ~3u;
    return it == m_pState->Pci.end() || uOffset >= it->second.size() ? ~0u : g_Load(&it->second[uOffset]);
}

void CSimMachine::SetPciDword(CPciAddress Address, uint32_t uOffset, uint32_t uValue) {
    const std::lock_guard Lock(m_Lock);
    std::vector<uint8_t>& rFunction = m_pState->Pci[Address];
    uOffset &= kPage - 4;
    if (uOffset >= rFunction.size()) rFunction.resize(uOffset < kPciBytes ? kPciBytes : kPage);
    if (g_Load(&rFunction[uOffset]) != uValue) Touch();
    g_Store(&rFunction[uOffset], uValue);
}

void CSimMachine::RemovePci(CPciAddress Address) {
    const std::lock_guard Lock(m_Lock);
    m_pState->Pci.erase(Address);
}

// --- physical memory

void CSimMachine::ReadMemory(uint64_t ullAddress, std::span<uint8_t> Data) {
    const std::lock_guard Lock(m_Lock);
    while (!Data.empty()) {  // a page at a time: windows are made of whole pages
        const std::span<uint8_t> Part = Data.first(std::min<size_t>(Data.size(), kPage - ullAddress % kPage));
        if (const auto Ecam = m_pState->FindEcam(ullAddress)) {
            if (m_pState->bEcamReachesProcessor || Ecam->first.ucBus || Ecam->first.ucDevice < 24) {
                ReadPci(Ecam->first, Ecam->second, Part);
            } else {
                std::memset(Part.data(), kNobody, Part.size());
            }
        } else if (m_pState->IsApic(ullAddress)) {
            for (size_t i = 0; i < Part.size(); ++i) {
                const uint32_t uOffset = static_cast<uint32_t>(ullAddress + i - m_pState->ullApicBase);
                Part[i] = static_cast<uint8_t>(m_pState->Apic.Read(uOffset & ~3u, m_ullNow) >> (8 * (uOffset & 3)));
            }
        } else {
            std::memset(Part.data(), kNobody, Part.size());
            m_pState->ForEachRegion(ullAddress, Part.size(), [&](uint8_t* pBytes, size_t uOffset, size_t uCount) {
                std::memcpy(&Part[uOffset], pBytes, uCount);
            });
        }
        ullAddress += Part.size();
        Data = Data.subspan(Part.size());
    }
}

void CSimMachine::WriteMemory(uint64_t ullAddress, std::span<const uint8_t> Data) {
    const std::lock_guard Lock(m_Lock);
    while (!Data.empty()) {
        const std::span<const uint8_t> Part = Data.first(std::min<size_t>(Data.size(), kPage - ullAddress % kPage));
        if (const auto Ecam = m_pState->FindEcam(ullAddress)) {
            if (m_pState->bEcamReachesProcessor || Ecam->first.ucBus || Ecam->first.ucDevice < 24)
                WritePci(Ecam->first, Ecam->second, Part);
        } else if (m_pState->IsApic(ullAddress)) {
            for (size_t i = 0; i + 4 <= Part.size() && ullAddress % 4 == 0; i += 4)  // takes whole registers only
                m_pState->Apic.Write(static_cast<uint32_t>(ullAddress + i - m_pState->ullApicBase), g_Load(&Part[i]),
                                     m_ullNow);
        } else {
            m_pState->ForEachRegion(ullAddress, Part.size(), [&](uint8_t* pBytes, size_t uOffset, size_t uCount) {
                if (std::memcmp(pBytes, &Part[uOffset], uCount) != 0) Touch();
                std::memcpy(pBytes, &Part[uOffset], uCount);
            });
            for (const auto& pModel : m_Models) pModel->WroteMemory(ullAddress, Part.size());
        }
        ullAddress += Part.size();
        Data = Data.subspan(Part.size());
    }
}

std::vector<uint8_t>& CSimMachine::Memory(uint64_t ullAddress) {
    const std::lock_guard Lock(m_Lock);
    return m_pState->Memory[ullAddress];
}

uint64_t CSimMachine::AcpiAddress(std::string_view sSignature) const {
    const auto it =
        std::ranges::find_if(m_pState->Acpi.Addresses, [&](const auto& rEntry) { return rEntry.first == sSignature; });
    return it == m_pState->Acpi.Addresses.end() ? 0 : it->second;
}

// --- mappings

uint64_t CSimMachine::Map(uint64_t ullPhysical, uint32_t uSize, uint64_t& rullHandle) {
    const std::lock_guard Lock(m_Lock);
    auto& rMappings = m_pState->Mappings;
    const bool bFits = uSize != 0 && uSize <= kMaximumMapping && rMappings.size() < kMaximumMappings &&
                       ullPhysical <= std::numeric_limits<uint64_t>::max() - uSize;
    if (!bFits) return 0;
    CMapping Mapping{ullPhysical, uSize, 0, nullptr};
    if (m_pState->pProvider) {
        Mapping.ullAddress = m_pState->pProvider->Map(ullPhysical, uSize, Mapping.pBacking, rullHandle);
        if (Mapping.ullAddress == 0) return 0;
        std::vector<uint8_t> Content(uSize);
        ReadMemory(ullPhysical, Content);
        std::memcpy(Mapping.pBacking, Content.data(), uSize);
    } else {
        const auto IsTaken = [&](uint64_t ullAddress) {
            return std::ranges::any_of(rMappings,
                                       [&](const auto& rEntry) { return rEntry.second.ullAddress == ullAddress; });
        };
        Mapping.ullAddress = kFirstMapping;
        while (IsTaken(Mapping.ullAddress)) Mapping.ullAddress += kMappingStep;
        rullHandle = ~Mapping.ullAddress;  // a driver's handle means nothing to its client
    }
    rMappings[rullHandle] = Mapping;
    return Mapping.ullAddress;
}

bool CSimMachine::Unmap(uint64_t ullHandle) {
    const std::lock_guard Lock(m_Lock);
    const auto it = m_pState->Mappings.find(ullHandle);
    if (it == m_pState->Mappings.end()) return false;
    if (it->second.pBacking && m_pState->pProvider) m_pState->pProvider->Unmap(ullHandle);
    m_pState->Mappings.erase(it);
    return true;
}

uint32_t CSimMachine::ReadMapped(uint64_t ullAddress) {
    const std::lock_guard Lock(m_Lock);
    std::array<uint8_t, 4> Bytes;
    ReadMemory(m_pState->PhysicalOf(ullAddress), Bytes);
    return g_Load(Bytes.data());
}

void CSimMachine::WriteMapped(uint64_t ullAddress, uint32_t uValue) {
    const std::lock_guard Lock(m_Lock);
    std::array<uint8_t, 4> Bytes;
    g_Store(Bytes.data(), uValue);
    WriteMemory(m_pState->PhysicalOf(ullAddress), Bytes);
}

size_t CSimMachine::MappingCount() const {
    const std::lock_guard Lock(m_Lock);
    return m_pState->Mappings.size();
}

void CSimMachine::SetMappingProvider(CMappingProvider* pProvider) {
    const std::lock_guard Lock(m_Lock);
    m_pState->pProvider = pProvider;
}

// --- the running PC as a description

CMachineDescription CSimMachine::Describe() const {
    const std::lock_guard Lock(m_Lock);
    CMachineDescription Description = m_Description;
    Description.dReferenceMHz = m_dReferenceMHz;
    for (uint32_t uCore = 0; uCore < ProcessorCount(); ++uCore)
        for (const auto& [uIndex, ullValue] : m_pState->Msr[uCore]) {
            const auto itAll = Description.Msr.find({kAllCores, uIndex});
            // What is said for all cores is said again only for those that differ.
            if (Description.Msr.contains({uCore, uIndex}) || itAll == Description.Msr.end() ||
                itAll->second != ullValue)
                Description.Msr[{uCore, uIndex}] = ullValue;
        }
    Description.Pci = m_pState->Pci;
    for (const auto& [ullAddress, rData] : m_pState->Memory) {
        const auto itLaidOut = m_pState->Acpi.Regions.find(ullAddress);
        // The tables are laid out anew at power-on; one that was written to is memory from then on.
        if (itLaidOut == m_pState->Acpi.Regions.end() || itLaidOut->second != rData)
            Description.Memory[ullAddress] = rData;
    }
    Description.Ports = m_pState->Ports;
    Description.oFirmware = m_pState->oFirmware;
    for (const auto& pModel : m_Models) pModel->Describe(Description);
    return Description;
}

void CSimMachine::SetFirmware(const CFirmwareDescription& rFirmware) {
    const std::lock_guard Lock(m_Lock);
    m_pState->oFirmware = rFirmware;
    Touch();
}

// --- the registry

bool CSimMachine::HasRegistryKey(const std::string& sKeyAndMark) const {
    const std::lock_guard Lock(m_Lock);
    const auto it = m_Description.Registry.lower_bound(sKeyAndMark);
    return it != m_Description.Registry.end() && it->first.starts_with(sKeyAndMark);
}

std::optional<std::string> CSimMachine::RegistryValue(const std::string& sName) const {
    const std::lock_guard Lock(m_Lock);
    const auto it = m_Description.Registry.find(sName);
    return it == m_Description.Registry.end() ? std::nullopt : std::optional(it->second);
}

void CSimMachine::SetRegistryValue(const std::string& sName, std::optional<std::string> oText) {
    const std::lock_guard Lock(m_Lock);
    if (oText)
        m_Description.Registry.insert_or_assign(sName, *std::move(oText));
    else
        m_Description.Registry.erase(sName);
    Touch();
}

// --- virtual time

uint64_t CSimMachine::Now() const {
    const std::lock_guard Lock(m_Lock);
    return m_ullNow;
}

void CSimMachine::Advance(uint64_t ullNanoseconds) {
    const std::lock_guard Lock(m_Lock);
    m_ullNow += ullNanoseconds;
    for (const auto& pModel : m_Models) pModel->Tick(ullNanoseconds);
    for (const auto& [ullHandle, rMapping] : m_pState->Mappings)
        if (rMapping.pBacking && m_pState->IsApic(rMapping.ullPhysical))
            m_pState->Apic.Synchronize(rMapping.pBacking,
                                       static_cast<uint32_t>(rMapping.ullPhysical - m_pState->ullApicBase),
                                       rMapping.uSize, m_ullNow);
}

void CSimMachine::Rest(uint64_t ullNanoseconds) {
    const std::lock_guard Lock(m_Lock);
    m_pState->ullRested += ullNanoseconds;
    for (const auto& pModel : m_Models) pModel->Rest(ullNanoseconds);
}

uint64_t CSimMachine::Uptime() const {
    const std::lock_guard Lock(m_Lock);
    return m_ullNow + m_pState->ullRested;
}

// --- loads

// A swing is a raised cosine: none at power-on, all of the load after half a period.
double CSimMachine::Load(uint32_t uCore) const {
    const std::lock_guard Lock(m_Lock);
    return m_Description.uLoadPeriod == 0 ? _FullLoad(uCore) : _FullLoad(uCore) * (1 - std::cos(_SwingAngle())) / 2;
}

double CSimMachine::AverageLoad(uint32_t uCore) const {
    const std::lock_guard Lock(m_Lock);
    if (m_Description.uLoadPeriod == 0) return _FullLoad(uCore);
    const double dAngle = _SwingAngle();
    return dAngle > 0 ? _FullLoad(uCore) * (1 - std::sin(dAngle) / dAngle) / 2 : 0;
}

double CSimMachine::_FullLoad(uint32_t uCore) const {
    return uCore < m_pState->Loads.size() ? m_pState->Loads[uCore] : 0;
}

double CSimMachine::_SwingAngle() const {
    constexpr double kNanoseconds = 1e-9;
    return 2 * std::numbers::pi * kNanoseconds * static_cast<double>(Uptime()) / m_Description.uLoadPeriod;
}

void CSimMachine::SetLoad(uint32_t uCore, double dLoad) {
    const std::lock_guard Lock(m_Lock);
    m_pState->Loads.at(uCore) = std::clamp(dLoad, 0.0, 1.0);
}

// --- silicon

uint64_t CSimMachine::Miscompute(uint32_t uCore) {
    const std::lock_guard Lock(m_Lock);
    uint64_t ullBits = 0;
    if (uCore < ProcessorCount())
        for (const auto& pModel : m_Models) ullBits |= pModel->Miscompute(uCore);
    return ullBits;
}

std::string CSimMachine::HangReason() const {
    const std::lock_guard Lock(m_Lock);
    return m_sHangReason;
}

void CSimMachine::Hang(const std::string& sReason) {
    const std::lock_guard Lock(m_Lock);
    if (m_bHung) return;
    m_sHangReason = "the simulated PC hangs: " + sReason;
    m_bHung = true;
}

// --- reference clock

double CSimMachine::ReferenceMHz() const {
    const std::lock_guard Lock(m_Lock);
    return m_dReferenceMHz;
}

void CSimMachine::SetReferenceClock(double dMHz) {
    const std::lock_guard Lock(m_Lock);
    if (!(dMHz >= kMinimumReferenceMHz && dMHz <= kMaximumReferenceMHz)) return;
    _Store(m_dReferenceMHz, dMHz);
    m_pState->Apic.SetBusClock(dMHz, m_ullNow);
}

}  // namespace vxtsim
