#include "heat.h"

#include <cmath>

namespace vxtsim {

CHeat::CHeat(const CSimMachine& rMachine)
    : m_rMachine(rMachine), m_pClock(rMachine.Model<CCoreClock>()), m_MHz(rMachine.ProcessorCount(), 1.0) {
    for (uint32_t uCore = 0; m_pClock && uCore < m_MHz.size(); ++uCore) m_MHz[uCore] = m_pClock->CoreMHz(uCore);
}

double CHeat::Now() const {
    double dSum = 0;
    for (uint32_t uCore = 0; uCore < m_MHz.size(); ++uCore) {
        const double dClock = m_pClock ? m_pClock->CoreMHz(uCore) / m_MHz[uCore] : 1.0;
        dSum += std::sqrt(dClock) * (1 + kBusy * m_rMachine.Load(uCore));
    }
    return dSum / static_cast<double>(m_MHz.size());
}

double CHeat::SettledIdle() const {
    double dSum = 0;
    for (uint32_t uCore = 0; uCore < m_MHz.size(); ++uCore)
        dSum += m_pClock ? std::sqrt(m_pClock->SettledMHz(uCore) / m_MHz[uCore]) : 1.0;
    return dSum / static_cast<double>(m_MHz.size());
}

}  // namespace vxtsim
