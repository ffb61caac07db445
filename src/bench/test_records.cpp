#include "bench/test_records.h"

#include <algorithm>
#include <cmath>

#include "registers/no_throw.h"

namespace vxt {

template <class TRecord> const TRecord* CTestRecords<TRecord>::TakeNext() {
    const std::lock_guard Guard(m_Lock);
    if (m_Waiting.empty() || !g_NoThrow([&] { m_Lent.push_back(nullptr); })) return nullptr;
    m_Lent.back() = std::move(m_Waiting.front());
    m_Waiting.pop_front();
    if (m_Lent.size() > kMost) m_Lent.pop_front();
    return m_Lent.back().get();
}

template <class TRecord> void CTestRecords<TRecord>::Clear() {
    const std::lock_guard Guard(m_Lock);
    m_Waiting.clear();
    m_Lent.clear();
}

template class CTestRecords<vxtapi::TestError>;
template class CTestRecords<vxtapi::TestResult>;

bool CTestErrors::Add(vxtapi::TestError Error) {
    const std::lock_guard Guard(m_Lock);
    return g_NoThrow([&] {
        const CSpot Spot(Error.uCode, Error.uSize, Error.ullIteration, Error.uPlace, Error.ullFound, Error.dRoundOff);
        // Where it is not known, or everything ran away, the same value means nothing.
        const bool bIsKnown = Error.ullIteration != 0 && std::isfinite(Error.dRoundOff) &&
                              (m_Spots.size() < kMost || m_Spots.contains(Spot));
        if (bIsKnown) Error.uSeenBefore = m_Spots[Spot]++;
        if (m_Waiting.size() < kMost) _Append(Error);
    });
}

void CTestErrors::Clear() {
    CTestRecords::Clear();
    const std::lock_guard Guard(m_Lock);
    m_Spots.clear();
}

bool CTestResults::Set(const vxtapi::TestResult& rResult) {
    const std::lock_guard Guard(m_Lock);
    const auto it = std::ranges::find(m_Waiting, rResult.pTestCase, [](const auto& p) { return p->pTestCase; });
    if (it == m_Waiting.end()) return g_NoThrow([&] { _Append(rResult); });
    (*it)->dValue = rResult.dValue;
    return true;
}

}  // namespace vxt
