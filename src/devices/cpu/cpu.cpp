#include "devices/cpu/cpu.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

#include "api/log/log_checks.h"
#include "devices/cpu/cpu_registers.h"
#include "platform/clock.h"
#include "platform/cpuid.h"
#include "platform/mapped_registers.h"
#include "platform/system.h"
#include "platform/text.h"
#include "registers/scope_exit.h"

namespace vxt {

using namespace cpu;
using platform::CCpuidRegisters;
using platform::Cpuid;

namespace {

constexpr CDeviceIdentity kIdentity = g_Identity(L"QOR Processor", 0);

// ACPI 3.0: FADT (5.2.9) and MADT (5.2.11)
constexpr uint32_t kPmTimerBlockOffset = 76, kLocalApicOffset = 36;
constexpr uint32_t kPmTimerMask = 0xFFFFFF;
constexpr double kPmTimerMHz = 3.579545021057129;
constexpr uint32_t kMeasuredTicks = 20'000;  ///< of the PM timer: 5.6 ms
constexpr uint32_t kStandstill = 1'000;  ///< equal readings in a row: the timer ticks every 0.28 us, so it stands still

// Local APIC timer registers from the start of the mapping, APIC base + 300h
constexpr uint32_t kApicTimers = 0x300, kApicTimersSize = 256;
constexpr uint32_t kLvtTimer = 0x20, kInitialCount = 0x80, kCurrentCount = 0x90, kDivide = 0xE0;
constexpr CBitField kTimerPeriodic(17, 17);
constexpr uint32_t kDivideBy8 = 2, kDivisor = 8;

constexpr double kIdleUnits = 10'000;  ///< of idle time in a millisecond
constexpr double kUsageBias = 0.5;     ///< Kept: percent added to every usage, so a busy core shows 100.5

/// The CPUID bits that are kept.
struct CFeatureRow {
    uint32_t uLeaf, uBits;
    uint32_t CCpuidRegisters::*pRegister;
};
constexpr CFeatureRow kFeatureRows[] = {
    {kSignature, 0x00000001, &CCpuidRegisters::uEcx},
    {kSignature, 0x178BF800, &CCpuidRegisters::uEdx},
    {kCpuidExtendedSignature, 0x00000003, &CCpuidRegisters::uEcx},
    {kCpuidExtendedSignature, 0xEA500BFF, &CCpuidRegisters::uEdx},
    {kCpuidPower, 0x0000000F, &CCpuidRegisters::uEdx},
};

}  // namespace

CCPU::CCPU(CDriverHandler& rDriver, CSystemTables& rTables) : CCPU(kIdentity, rDriver, rTables) {}

bool CCPU::Init(uint32_t uIndex) {
    m_uIndex = uIndex;
    const uint8_t* pTable = nullptr;
    uint32_t uSize = 0;
    bool bRetCode = m_rTables.GetTable(g_TableKey("FACP"), pTable, uSize);
    LOG_PROCESS_ERROR(bRetCode);
    LOG_PROCESS_ERROR(uSize >= kPmTimerBlockOffset + 4,
                      "uSize >= (unsigned)(((char*)(&fadt->PM_TMR_BLK) - (char*)fadt) + 4)");
    std::memcpy(&m_usPmTimerPort, pTable + kPmTimerBlockOffset, sizeof(m_usPmTimerPort));

    bRetCode = m_rTables.GetTable(g_TableKey("APIC"), pTable, uSize);
    LOG_PROCESS_ERROR(bRetCode);
    LOG_PROCESS_ERROR(uSize > kLocalApicOffset + 4,
                      "uSize > (unsigned)(((char*)(&madt->uLocalAPICAddress) - (char*)madt) + 4)");
    uint32_t uLocalApic = 0;
    std::memcpy(&uLocalApic, pTable + kLocalApicOffset, sizeof(uLocalApic));
    bRetCode = UnInit();  // of an earlier Init: one mapping at a time
    LOG_PROCESS_ERROR(bRetCode);
    m_ApicTimers = CPhysicalMapping(m_rDriver, uint64_t{uLocalApic} + kApicTimers, kApicTimersSize);
    bRetCode = static_cast<bool>(m_ApicTimers);
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

bool CCPU::UnInit() {
    const bool bRetCode = m_ApicTimers.Unmap();
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

float CCPU::GetCurrentClock() {
    const double dMultiplier = GetCurrentMultiplier();  // first: it pins the thread to the core whose APIC then counts
    return static_cast<float>(dMultiplier * MeasureReferenceClock());
}

double CCPU::MeasureReferenceClock() {
    const uint64_t ullTimers = m_ApicTimers.Address();
    if (ullTimers == 0) return 0.0;
    const auto Read = [=](uint32_t uRegister) { return platform::ReadMapped(ullTimers + uRegister); };
    const auto Write = [=](uint32_t uRegister, uint32_t uValue) {
        platform::WriteMapped(ullTimers + uRegister, uValue);
    };

    const uint32_t uLvtTimer = Read(kLvtTimer);
    Write(kLvtTimer, kTimerPeriodic.Set(uLvtTimer, 0));
    const uint32_t uDivide = Read(kDivide);
    Write(kDivide, kDivideBy8);
    const CScopeExit Restore([&] {
        Write(kDivide, uDivide);
        Write(kLvtTimer, uLvtTimer);
    });
    Write(kInitialCount, 0xFFFFFFFF);
    const uint32_t uFirstCount = Read(kCurrentCount);

    uint32_t uStart = 0, uNow = 0;
    bool bRetCode = _ReadPmTimer(uStart);
    LOG_PROCESS_ERROR(bRetCode);
    // Kept: one count short of the timer's period.
    const auto Elapsed = [&] { return (uNow < uStart ? uNow + kPmTimerMask : uNow) - uStart; };
    uint32_t uBefore = uStart, uEqual = 0;
    do {
        bRetCode = _ReadPmTimer(uNow);
        LOG_PROCESS_ERROR(bRetCode);
        uEqual = uNow == std::exchange(uBefore, uNow) ? uEqual + 1 : 0;
        LOG_PROCESS_ERROR(uEqual < kStandstill);
    } while (Elapsed() < kMeasuredTicks);
    const uint32_t uSecondCount = Read(kCurrentCount);
    bRetCode = _ReadPmTimer(uNow);
    LOG_PROCESS_ERROR(bRetCode);
    LOG_PROCESS_ERROR(Elapsed() != 0);  // the thread slept for exactly one period
    return (uFirstCount - uSecondCount) * kPmTimerMHz / Elapsed() * kDivisor;
}

bool CCPU::_ReadPmTimer(uint32_t& ruTicks) const {
    if (!m_rDriver.ReadPort(m_usPmTimerPort, ruTicks)) return false;
    ruTicks &= kPmTimerMask;
    return true;
}

double CCPU::GetCurrentUsage() {
    std::array<uint64_t, 32> aullIdleTimes{};
    const bool bRetCode = m_uIndex < platform::ProcessorIdleTimes(aullIdleTimes);
    LOG_PROCESS_ERROR(bRetCode);
    const uint64_t ullIdleTime = aullIdleTimes[m_uIndex];
    const uint32_t uTickCount = platform::TickCount();
    const double dIdle =
        static_cast<double>(ullIdleTime) - static_cast<double>(std::exchange(m_ullIdleTime, ullIdleTime));
    const uint32_t uElapsed = uTickCount - std::exchange(m_uTickCount, uTickCount);  // survives the counter's wrap
    if (uElapsed == 0) return 0.0;
    return std::max(0.0, 100 - dIdle / kIdleUnits / uElapsed * 100 + kUsageBias);
}

bool CCPU::GetBoostState(bool* pbSupported, bool* pbEnabled) {
    LOG_PROCESS_ERROR(pbSupported && pbEnabled);
    *pbSupported = *pbEnabled = false;
    return false;
}

bool CCPU::HasFeature(uint32_t uLeaf, uint32_t CCpuidRegisters::*pRegister, uint32_t uBit) const {
    for (size_t i = 0; i < std::size(kFeatureRows); ++i)
        if (kFeatureRows[i].uLeaf == uLeaf && kFeatureRows[i].pRegister == pRegister)
            return uBit < 32 && m_auFeatures[i] >> uBit & 1;
    return false;
}

uint32_t CCPU::_GetProcessorCount() { return platform::ProcessorCount(); }

void CCPU::_ReadVendor() {
    const CCpuidRegisters Registers = Cpuid(kCpuidVendor);
    m_szVendor.fill(0);
    size_t uCharacter = 0;
    for (const uint32_t uPart : {Registers.uEbx, Registers.uEdx, Registers.uEcx})
        for (int nShift = 0; nShift < 32; nShift += 8) m_szVendor[uCharacter++] = static_cast<uint8_t>(uPart >> nShift);
}

bool CCPU::_ReadBrand() {
    std::array<char, kTextSize> szBrand{};
    for (uint32_t i = 0; i < 3; ++i) {
        const CCpuidRegisters Registers = Cpuid(kCpuidBrand + i);
        std::memcpy(szBrand.data() + i * sizeof(Registers), &Registers, sizeof(Registers));
    }
    return platform::WidenText({szBrand.data(), szBrand.size()}, m_szBrand) == m_szBrand.size();
}

void CCPU::_ReadSignature() {
    const uint32_t uSignature = g_IdentifyProcessor();
    m_uFamily = kFamily.Get(uSignature);
    m_uExtendedFamily = kExtendedFamily.Get(uSignature);
    m_uModel = kModel.Get(uSignature);
    m_uExtendedModel = kExtendedModel.Get(uSignature);
    m_uStepping = kStepping.Get(uSignature);
    char szText[kTextSize];
    std::snprintf(szText, sizeof(szText), "Family %d-%d Model %d-%d Stepping %d", m_uFamily, m_uExtendedFamily,
                  m_uModel, m_uExtendedModel, m_uStepping);
    std::copy_n(szText, std::strlen(szText) + 1, m_szDescription.begin());
}

void CCPU::_ReadFeatures() {
    for (size_t i = 0; i < std::size(kFeatureRows); ++i)
        m_auFeatures[i] = Cpuid(kFeatureRows[i].uLeaf).*kFeatureRows[i].pRegister & kFeatureRows[i].uBits;
}

void CCPU::_ReadCaches() {
    const CCpuidRegisters L1 = Cpuid(kCpuidL1);
    for (size_t i = 0; i < std::size(kCacheBytes); ++i) {
        m_Caches.adL1Tlb[i] = kCacheBytes[i].Get(L1.uEax);
        m_Caches.adL1Data[i] = kCacheBytes[i].Get(L1.uEcx);
    }
    const uint32_t uL2 = Cpuid(kCpuidL2).uEcx;
    m_Caches.dL2Size = kL2Size.Get(uL2);
    m_Caches.dL2Associativity = kL2Associativity.Get(uL2);
    m_Caches.dL2LinesPerTag = kL2LinesPerTag.Get(uL2);
    m_Caches.dL2LineSize = kL2LineSize.Get(uL2);
}

}  // namespace vxt
