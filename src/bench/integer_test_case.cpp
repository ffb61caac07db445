#include "bench/integer_test_case.h"

#include <algorithm>

#include "bench/opaque.h"
#include "platform/silicon.h"

namespace vxt {

namespace {

constexpr uint32_t kEnd = 10'000'000;
/// Numbers between two looks at the stop flag: a millisecond of divisions or less.
constexpr uint32_t kBlock = 100'000;
/// Numbers between two questions to the simulated silicon, some milliseconds.
constexpr uint32_t kSiliconBlock = 10 * kBlock;

// The operands are opaque: both sums become constants otherwise, and nothing is computed.

uint64_t g_AddQuotients(uint64_t ullSum, uint32_t uFirst, uint32_t uEnd) {
    for (uint32_t u = uFirst; u < uEnd; ++u) {
        const uint64_t ullFactor = g_Opaque<uint64_t>(u);
        ullSum += g_Opaque(ullFactor * ullFactor) / ullFactor;
    }
    return ullSum;
}

uint32_t g_AddAlternating(uint32_t uSum, uint32_t uFirst, uint32_t uEnd) {
    for (uint32_t u = uFirst; u < uEnd; ++u) {
        const uint32_t uTerm = g_Opaque(u);
        uSum = uTerm % 2 ? uSum + uTerm : uSum - uTerm;
    }
    return uSum;
}

/// Block by block from `uFirst` to kEnd. False: stopped before.
template <class TSum>
bool g_Add(TSum (*pAdd)(TSum, uint32_t, uint32_t), uint32_t uFirst, const std::atomic<bool>& rStop, TSum& rSum) {
    while (uFirst < kEnd) {
        if (rStop.load(std::memory_order_relaxed)) return false;
        const uint32_t uEnd = std::min(uFirst + kBlock, kEnd);
        rSum = pAdd(rSum, uFirst, uEnd);
        if (uEnd % kSiliconBlock == 0) rSum ^= static_cast<TSum>(platform::SiliconFault());
        uFirst = uEnd;
    }
    return true;
}

}  // namespace

bool CIntegerTestCase::_Compute() {
    constexpr uint64_t kQuotients = uint64_t{kEnd - 1} * kEnd / 2;
    uint64_t ullQuotients = 0;
    if (!g_Add(g_AddQuotients, 1, _StopFlag(), ullQuotients)) return false;
    _Compare(vxtapi::kTestErrorSquares, kQuotients, ullQuotients);

    constexpr uint32_t kAlternating = kEnd / 2;
    uint32_t uAlternating = 0;
    if (!g_Add(g_AddAlternating, 0, _StopFlag(), uAlternating)) return false;
    _Compare(vxtapi::kTestErrorAlternating, kAlternating, uAlternating);
    return true;
}

void CIntegerTestCase::_Compare(uint32_t uCode, uint64_t ullExpected, uint64_t ullFound) {
    if (ullExpected == ullFound) return;
    vxtapi::TestError Error = _NewError(uCode);
    Error.ullExpected = ullExpected;
    Error.ullFound = ullFound;
    Error.ullBits = ullExpected ^ ullFound;
    _Report(Error);
}

}  // namespace vxt
