#include "index_data_pairs.h"

namespace vxtsim {

namespace {
constexpr uint32_t kDone = 1u << 31;
}

bool CIndexDataPairs::ReadPci(CPciAddress Address, uint32_t uOffset, uint32_t& ruValue) {
    bool bIndex = false;
    CPair* const pPair = _Find(Address, uOffset, bIndex);
    if (!pPair) return false;
    if (bIndex && pPair->bRunning) _Look(*pPair);
    ruValue = bIndex ? pPair->uIndex : pPair->uData;
    return true;
}

bool CIndexDataPairs::WritePci(CPciAddress Address, uint32_t uOffset, uint32_t uValue) {
    bool bIndex = false;
    CPair* const pPair = _Find(Address, uOffset, bIndex);
    if (!pPair) return false;
    if (bIndex) {
        pPair->uIndex = uValue & (m_Place.uIndexMask | kWrite);
        pPair->bRunning = true, pPair->uReads = 0;
    } else {
        pPair->uData = uValue;
    }
    if (pPair->IsWriting()) m_rMachine.Touch();
    return true;
}

void CIndexDataPairs::Begin(const CDescribed& rRegisters) {
    for (const auto& [Place, uValue] : rRegisters)
        if (Place.first < m_Pairs.size()) m_Pairs[Place.first].Registers[Place.second] = uValue;
}

void CIndexDataPairs::DescribeInto(CDescribed& rRegisters) const {
    for (uint32_t uPair = 0; uPair < m_Pairs.size(); ++uPair) {
        const CPair& rPair = m_Pairs[uPair];
        for (const auto& [uIndex, uValue] : rPair.Registers)
            // One that was only looked at still says nothing.
            if (uValue || rRegisters.contains({uPair, uIndex})) rRegisters[{uPair, uIndex}] = uValue;
        if (rPair.IsWriting()) rRegisters[{uPair, rPair.uIndex & m_Place.uIndexMask}] = rPair.uData;
    }
}

CIndexDataPairs::CPair* CIndexDataPairs::_Find(CPciAddress Address, uint32_t uOffset, bool& rbIndex) {
    if (Address != m_Place.Function || uOffset < m_Place.uFirst) return nullptr;
    const uint32_t uPair = (uOffset - m_Place.uFirst) / m_Place.uStride;
    const uint32_t uRest = (uOffset - m_Place.uFirst) % m_Place.uStride;
    if (uPair >= m_Pairs.size() || (uRest != 0 && uRest != 4)) return nullptr;
    rbIndex = uRest == 0;
    return &m_Pairs[uPair];
}

void CIndexDataPairs::_Look(CPair& rPair) {
    if (m_bNeverDone || ++rPair.uReads < m_uReadsUntilDone) return;
    uint32_t& ruRegister = rPair.Registers[rPair.uIndex & m_Place.uIndexMask];
    if (rPair.uIndex & kWrite)
        ruRegister = rPair.uData;
    else
        rPair.uData = ruRegister;
    rPair.uIndex |= kDone;
    rPair.bRunning = false;
}

}  // namespace vxtsim
