#include "south_bridge_monitor.h"

#include <algorithm>

namespace vxtsim {

namespace {

constexpr uint8_t kReset = 0x45, kFired = 1 << 1;
constexpr uint8_t kWatchdog = 0x69, kDisabled = 1 << 0;
constexpr uint64_t kResolutions[] = {32'000, 10'000'000, 100'000'000, 1'000'000'000};  ///< ns, by bits 2:1
constexpr uint8_t kBase = 0x6C;                                                        ///< four bytes, low first
constexpr uint8_t kReservedBase = 7;
constexpr uint8_t kSwitched[] = {0x87, 0x8A, 0x8B, 0xCF};

constexpr size_t kCount = 4, kBytes = 6;                             ///< in memory, behind the control
constexpr uint8_t kRun = 1 << 0, kStop = 1 << 1, kTrigger = 1 << 7;  ///< of the control

uint16_t g_Count(const std::vector<uint8_t>& rRegisters) {
    return static_cast<uint16_t>(rRegisters[kCount] | rRegisters[kCount + 1] << 8);
}
void g_SetCount(std::vector<uint8_t>& rRegisters, uint16_t usCount) {
    rRegisters[kCount] = static_cast<uint8_t>(usCount), rRegisters[kCount + 1] = static_cast<uint8_t>(usCount >> 8);
}

}  // namespace

CSouthBridgePower::CSouthBridgePower(CSimMachine& rMachine) : CPortPairs(rMachine, kBridgePowerPort) {
    if (const auto* const pRegisters = _Registers()) m_usReload = g_Count(*pRegisters);
}

bool CSouthBridgePower::IsKept(uint8_t ucRegister) const {
    return std::ranges::find(kSwitched, ucRegister) == std::end(kSwitched);
}

void CSouthBridgePower::Write(uint8_t ucRegister, uint8_t ucValue) {
    if (ucRegister == kReset) ucValue = (ucValue & kFired) ? ucValue & ~kFired : ucValue | (Read(kReset) & kFired);
    CPortPairs::Write(ucRegister, ucValue);
}

uint64_t CSouthBridgePower::_Base() const {
    uint64_t ullBase = 0;
    for (int i = 3; i >= 0; --i) ullBase = ullBase << 8 | Read(static_cast<uint8_t>(kBase + i));
    return ullBase & ~uint64_t{kReservedBase};
}

std::vector<uint8_t>* CSouthBridgePower::_Registers() const {
    if (!m_rMachine.Description().Memory.contains(_Base())) return nullptr;
    std::vector<uint8_t>& rRegisters = m_rMachine.Memory(_Base());
    return rRegisters.size() < kBytes ? nullptr : &rRegisters;
}

void CSouthBridgePower::WroteMemory(uint64_t ullAddress, size_t uSize) {
    const uint64_t ullBase = _Base();
    auto* const pRegisters = _Registers();
    if (!pRegisters || ullAddress >= ullBase + kBytes || ullAddress + uSize <= ullBase) return;
    if (ullAddress + uSize > ullBase + kCount) m_usReload = g_Count(*pRegisters), m_ullElapsed = 0;
    uint8_t& rucControl = pRegisters->front();
    if (rucControl & kTrigger) {
        rucControl |= kRun;
        g_SetCount(*pRegisters, m_usReload), m_ullElapsed = 0;
    }
    if (rucControl & kStop) rucControl &= static_cast<uint8_t>(~kRun);
    rucControl &= static_cast<uint8_t>(~(kStop | kTrigger));
}

void CSouthBridgePower::Tick(uint64_t ullNanoseconds) {
    auto* const pRegisters = _Registers();
    const uint8_t ucWatchdog = Read(kWatchdog);
    if (!pRegisters || !(pRegisters->front() & kRun) || ucWatchdog & kDisabled) return;
    const uint64_t ullResolution = kResolutions[ucWatchdog >> 1 & 3];
    m_ullElapsed += ullNanoseconds;
    const uint64_t ullCount = g_Count(*pRegisters), ullPassed = std::min(m_ullElapsed / ullResolution, ullCount);
    m_ullElapsed -= ullPassed * ullResolution;
    g_SetCount(*pRegisters, static_cast<uint16_t>(ullCount - ullPassed));
    if (ullCount > ullPassed) return;
    pRegisters->front() &= static_cast<uint8_t>(~kRun);
    CPortPairs::Write(kReset, Read(kReset) | kFired);
    m_rMachine.Touch();
}

void CSouthBridgePower::Describe(CMachineDescription& rDescription) const {
    CPortPairs::Describe(rDescription);
    if (_Registers()) g_SetCount(rDescription.Memory[_Base()], m_usReload);  // the time that has passed is not kept
}

}  // namespace vxtsim
