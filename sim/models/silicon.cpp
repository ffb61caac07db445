#include "silicon.h"

#include <algorithm>
#include <cstdio>
#include <limits>

namespace vxtsim {

namespace {

/// MHz; one that is not described is never reached.
double g_Limit(uint32_t uClock) { return uClock ? uClock : std::numeric_limits<double>::infinity(); }

}  // namespace

CSilicon::CSilicon(CSimMachine& rMachine, const CCoreClock& rClock)
    : m_rMachine(rMachine),
      m_rClock(rClock),
      m_dMaximum(g_Limit(rMachine.Description().uMaxCoreClock)),
      m_dHang(g_Limit(rMachine.Description().uHangCoreClock)),
      m_dVolts(rMachine.Description().dMaxCoreClockVolts),
      m_dSlope(rMachine.Description().uMaxCoreClockSlope),
      m_Cores(rMachine.ProcessorCount()) {}

void CSilicon::_Compute(uint32_t uCore, double dSeconds) {
    CCore& rCore = m_Cores[uCore];
    const double dClock = m_rClock.SettledMHz(uCore);
    const double dGain = m_dVolts == 0 ? 0 : m_dSlope * (m_rClock.SettledVolts(uCore) - m_dVolts);
    const double dShare = std::clamp((dClock - m_dMaximum - dGain) / kAlwaysMHz, 0.0, 1.0);  // of wrong answers
    // What is due stays due; a second one does not queue up behind it.
    rCore.dStrain = dShare == 0 ? 0 : std::min(rCore.dStrain + dShare * kQuestionsPerSecond * dSeconds, 1 + dShare);

    const double dHang = m_dHang + dGain;
    rCore.dBeyond = dClock > dHang ? rCore.dBeyond + dSeconds : 0;
    if (rCore.dBeyond < kHangSeconds) return;
    char szReason[96];
    std::snprintf(szReason, sizeof(szReason), "core %u at %g MHz, its silicon stands %g MHz", uCore, dClock, dHang);
    m_rMachine.Hang(szReason);
}

uint64_t CSilicon::Miscompute(uint32_t uCore) {
    _Compute(uCore, 1 / kQuestionsPerSecond);
    double& rStrain = m_Cores[uCore].dStrain;
    if (rStrain < 1) return 0;
    rStrain -= 1;
    // xorshift64: its middle bits are the fairest.
    m_ullRandom ^= m_ullRandom << 13, m_ullRandom ^= m_ullRandom >> 7, m_ullRandom ^= m_ullRandom << 17;
    return uint64_t{1} << (m_ullRandom >> 32 & 63);
}

void CSilicon::Tick(uint64_t ullNanoseconds) {
    constexpr uint64_t kWorthALook = 1'000'000;  // a request of the driver takes a fraction of it
    m_ullPassed += ullNanoseconds;
    if (m_ullPassed < kWorthALook) return;
    const double dSeconds = static_cast<double>(m_ullPassed) * 1e-9;
    m_ullPassed = 0;
    for (uint32_t uCore = 0; uCore < m_Cores.size(); ++uCore) {
        _Compute(uCore, dSeconds);
        if (m_Cores[uCore].dStrain >= 1) m_rMachine.BringErrorDue();
    }
}

}  // namespace vxtsim
