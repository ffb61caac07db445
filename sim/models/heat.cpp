#include "heat.h"

#include <algorithm>
#include <cmath>

namespace vxtsim {

namespace {

/// Whole kHz: what a machine file can say.
double g_Kilohertz(double dMHz) { return std::round(dMHz * 1000); }

}  // namespace

CHeat::CHeat(const CSimMachine& rMachine)
    : m_rMachine(rMachine), m_pClock(rMachine.Model<CCoreClock>()), m_Idle(rMachine.Description().IdleClocks) {
    m_Idle.resize(std::min<size_t>(m_Idle.size(), rMachine.ProcessorCount()));
    while (m_pClock && m_Idle.size() < rMachine.ProcessorCount())
        m_Idle.push_back(static_cast<uint32_t>(g_Kilohertz(m_pClock->CoreMHz(static_cast<uint32_t>(m_Idle.size())))));
}

double CHeat::Now() const {
    const uint32_t uCores = m_rMachine.ProcessorCount();
    double dSum = 0;
    for (uint32_t uCore = 0; uCore < uCores; ++uCore) {
        const double dClock = m_pClock ? g_Kilohertz(m_pClock->CoreMHz(uCore)) / m_Idle[uCore] : 1.0;
        dSum += std::sqrt(dClock) * (1 + kBusy * m_rMachine.Load(uCore));
    }
    return dSum / uCores;
}

void CHeat::Describe(CMachineDescription& rDescription) const {
    if (!m_pClock) return;
    rDescription.IdleClocks.clear();
    for (uint32_t uCore = 0; uCore < m_Idle.size(); ++uCore)
        if (g_Kilohertz(m_pClock->SettledMHz(uCore)) != m_Idle[uCore]) rDescription.IdleClocks = m_Idle;
}

}  // namespace vxtsim
