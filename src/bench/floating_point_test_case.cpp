#include "bench/floating_point_test_case.h"

#include <mutex>

#include "platform/silicon.h"

namespace vxt {

namespace {

/// Tables are read only and the same for all cores: whoever needs them first makes them.
std::shared_ptr<const fft::CTables> g_ShareTables(size_t uSize) {
    static std::mutex s_Lock;
    static std::array<std::weak_ptr<const fft::CTables>, vxtapi::kTestSizes> s_Tables;
    const std::lock_guard Guard(s_Lock);
    std::shared_ptr<const fft::CTables> pTables = s_Tables[uSize].lock();
    if (!pTables) s_Tables[uSize] = pTables = fft::CSquaring::MakeTables(fft::kSizes[uSize].uWords, fft::g_BestPath());
    return pTables;
}

}  // namespace

fft::CSquaring* CFloatingPointTestCase::_NextNumber() {
    for (size_t uTried = 0; uTried < vxtapi::kTestSizes; ++uTried) {
        const size_t uSize = (m_uSize + uTried) % vxtapi::kTestSizes;
        m_pNumber.reset();  // before the next one needs its memory
        if (!m_Tables[uSize]) m_Tables[uSize] = g_ShareTables(uSize);
        m_pNumber = fft::CSquaring::Make(m_Tables[uSize]);
        if (!m_pNumber) continue;
        m_uSize = uSize;
        return m_pNumber.get();
    }
    return nullptr;
}

bool CFloatingPointTestCase::_Compute() {
    constexpr uint64_t kSeed = 1;
    fft::CSquaring* const pNumber = _NextNumber();
    if (!pNumber) {
        CStressTestCase::_Report(_NewError(vxtapi::kTestErrorNotRun));
        return false;
    }
    pNumber->SetFaultHook(platform::SiliconMayErr() ? &m_Silicon : nullptr);
    fft::CFinding Finding;
    const bool bGood = pNumber->Pass(kSeed, _StopFlag(), Finding);
    if (Finding.eCheck != fft::ECheck::kNone) _Report(Finding);
    if (!bGood && Finding.eCheck == fft::ECheck::kNone) return false;  // stopped
    m_uSize = (m_uSize + 1) % vxtapi::kTestSizes;
    return bGood;
}

void CFloatingPointTestCase::_Report(const fft::CFinding& rFinding) {
    vxtapi::TestError Error = _NewError(static_cast<uint32_t>(rFinding.eCheck));
    Error.uSize = rFinding.uWords;
    Error.uPlace = rFinding.uPlace;
    Error.ullIteration = uint64_t{rFinding.uStep} + 1;
    Error.ullExpected = rFinding.ullExpected;
    Error.ullFound = rFinding.ullFound;
    Error.dRoundOff = rFinding.dRoundOff;
    Error.dRoundOffLimit = rFinding.dRoundOffLimit;
    CStressTestCase::_Report(Error);
}

static_assert(static_cast<uint32_t>(fft::ECheck::kRoundOff) == vxtapi::kTestErrorRoundOff);
static_assert(static_cast<uint32_t>(fft::ECheck::kChecksum) == vxtapi::kTestErrorChecksum);
static_assert(static_cast<uint32_t>(fft::ECheck::kKeptDigits) == vxtapi::kTestErrorKeptDigits);
static_assert(static_cast<uint32_t>(fft::ECheck::kDigitRange) == vxtapi::kTestErrorDigitRange);
static_assert(fft::kUnknownWord == vxtapi::kNoPlace);
static_assert(std::size(fft::kSizes) >= vxtapi::kTestSizes);

}  // namespace vxt
