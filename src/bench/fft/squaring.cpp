#include "bench/fft/squaring.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "bench/fft/tables.h"

namespace vxt::fft {

namespace {

constexpr uint32_t kDigitsAtOnce = 4096;  ///< handled between two looks at the stop request

bool g_IsDigit(double d, uint32_t uBits) {
    return std::fabs(d) <= static_cast<double>(1 << (uBits - 1)) && d == std::nearbyint(d);
}

}  // namespace

EPath g_BestPath() {
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") ? EPath::kAvx2 : EPath::kSse2;
}

std::shared_ptr<const CTables> CSquaring::MakeTables(uint32_t uWords, EPath ePath) {
    return CTables::Make(uWords, ePath);
}

std::unique_ptr<CSquaring> CSquaring::Make(std::shared_ptr<const CTables> pTables) {
    if (!pTables) return nullptr;
    std::unique_ptr<CSquaring> pSquaring(new (std::nothrow) CSquaring(std::move(pTables)));
    if (!pSquaring) return nullptr;
    pSquaring->m_pMemory.reset(new (std::nothrow) CAlignedMemory);
    const bool bRetCode =
        pSquaring->m_pMemory && pSquaring->m_pMemory->Allocate(CTables::WorkDoubles(pSquaring->Size().uWords));
    return bRetCode ? std::move(pSquaring) : nullptr;
}

CSquaring::CSquaring(std::shared_ptr<const CTables> pTables) : m_pTables(std::move(pTables)) {}
CSquaring::~CSquaring() = default;

const CSize& CSquaring::Size() const { return m_pTables->m_Size; }
double& CSquaring::_Digit(uint32_t uDigit) const { return m_pMemory->m_Doubles[m_pTables->Place(uDigit)]; }

bool CSquaring::Load(uint64_t ullSeed, const std::atomic<bool>& rStop) {
    const int nHalf = 1 << (Size().uBits - 1);
    for (uint32_t i = 0; i < Size().uWords; ++i) {
        if (i % kDigitsAtOnce == 0 && rStop.load(std::memory_order_relaxed)) return false;
        ullSeed += 0x9E3779B97F4A7C15;  // SplitMix64
        uint64_t ullMixed = (ullSeed ^ (ullSeed >> 30)) * 0xBF58476D1CE4E5B9;
        ullMixed = (ullMixed ^ (ullMixed >> 27)) * 0x94D049BB133111EB;
        _Digit(i) = static_cast<double>(static_cast<int>(ullMixed >> (64 - Size().uBits)) - nHalf);
    }
    m_uStep = 0;
    return _Evaluate(rStop, m_ullChecksum);
}

bool CSquaring::Load(std::span<const double> Digits) {
    const auto IsDigit = [this](double d) { return g_IsDigit(d, Size().uBits); };
    if (Digits.size() != Size().uWords || !std::ranges::all_of(Digits, IsDigit)) return false;
    for (uint32_t i = 0; i < Size().uWords; ++i) _Digit(i) = Digits[i];
    m_uStep = 0;
    return _Evaluate(false, m_ullChecksum);
}

void CSquaring::Take(const CSquaring& rOther) {
    std::ranges::copy(rOther.m_pMemory->m_Doubles, m_pMemory->m_Doubles.begin());
    m_ullChecksum = rOther.m_ullChecksum, m_uStep = rOther.m_uStep;
}

void CSquaring::Digits(std::span<double> Digits) const {
    for (uint32_t i = 0; i < Size().uWords; ++i) Digits[i] = _Digit(i);
}

/// The digits' polynomial at the root, from memory. False: stopped.
bool CSquaring::_Evaluate(const std::atomic<bool>& rStop, uint64_t& rullChecksum) const {
    const CResidues& rResidues = m_pTables->m_Residues;
    const uint64_t ullBlockRoot = rResidues.Power(m_pTables->m_ullRoot, kDigitWeights);
    rullChecksum = 0;
    for (uint32_t uEnd = Size().uWords; uEnd > 0; uEnd -= kDigitWeights) {
        if (uEnd % kDigitsAtOnce == 0 && rStop.load(std::memory_order_relaxed)) return false;
        int64_t llSum = 0;
        for (uint32_t i = 0; i < kDigitWeights; ++i)
            llSum += static_cast<int64_t>(_Digit(uEnd - kDigitWeights + i)) *
                     static_cast<int64_t>(m_pTables->m_pDigitWeights[i]);
        rullChecksum = rResidues.Add(rResidues.Multiply(rullChecksum, ullBlockRoot), rResidues.Of(llSum));
    }
    return true;
}

CFinding CSquaring::_Finding(ECheck eCheck, uint64_t ullExpected, uint64_t ullFound) const {
    return {eCheck,      Size().uWords, m_uStep,     m_dRoundOff, m_pTables->m_dRoundOffLimit,
            ullExpected, ullFound,      kUnknownWord};
}

bool CSquaring::Step(const std::atomic<bool>& rStop, CFinding& rFinding) {
    rFinding = {};
    struct COwner {
        const std::atomic<bool>& rStop;
        CSquaring& rSquaring;
    } Owner{rStop, *this};
    const CTables& rTables = *m_pTables;
    CStepFrame Frame{};
    Frame.Shape = rTables.m_Shape;
    Frame.uBlockColumns = rTables.m_uBlockColumns, Frame.uSumColumns = rTables.m_uSumColumns;
    Frame.pWork = m_pMemory->m_Doubles.data();
    Frame.pCarries = Frame.pWork + rTables.m_uRowDoubles * rTables.m_Shape.uRows;
    Frame.pRowTwiddles = Frame.pCarries + 2 * rTables.m_Shape.uRows;
    Frame.pColumnTwiddles = rTables.m_pColumnTwiddles;
    Frame.pRootTwiddles = rTables.m_pRootTwiddles;
    Frame.pRowBases = rTables.m_pRowBases;
    Frame.pNodeTwiddles = rTables.m_pNodeTwiddles;
    Frame.pRowWeights = rTables.m_pRowWeights;
    Frame.pColumnWeights = rTables.m_pColumnWeights;
    Frame.pDigitWeights = rTables.m_pDigitWeights;
    // Each level but the last, of four points, multiplies by its radix; squaring there, by a half.
    Frame.dScale = 16.0 / Size().uWords;
    Frame.dBase = static_cast<double>(1 << Size().uBits), Frame.dBaseInverse = 1 / Frame.dBase;
    Frame.dPrime = static_cast<double>(rTables.m_Residues.m_ullPrime), Frame.dPrimeInverse = 1 / Frame.dPrime;
    Frame.dBlockRoot = rTables.m_dBlockRoot, Frame.dDigitRoot = rTables.m_dDigitRoot;
    Frame.bReduceOften = Frame.dPrime * Frame.dPrime / 16 * rTables.m_Shape.uRows > 0x1p52;
    Frame.pOwner = &Owner;
    Frame.pGoesOn = [](void* p) { return !static_cast<COwner*>(p)->rStop.load(std::memory_order_relaxed); };
    if (m_pHook)
        Frame.pTouch = [](void* p) {
            CSquaring& rSquaring = static_cast<COwner*>(p)->rSquaring;
            rSquaring.m_pHook->Touch(rSquaring.m_pMemory->m_Doubles);
        };
    const EChecks eChecks = !m_bChecks ? EChecks::kNone : rTables.m_bCarriesCount ? EChecks::kAll : EChecks::kDigits;
    if (!(rTables.m_ePath == EPath::kAvx2 ? g_StepAvx2 : g_StepSse2)(Frame, eChecks)) return false;
    if (Frame.bCarriesLeft) _CarryFurther(Frame);
    m_dRoundOff = std::sqrt(Frame.dRoundOff);
    const bool bRetCode = !m_bChecks || _Check(Frame, rFinding);
    ++m_uStep;
    return bRetCode;
}

/// Carries that went through the first four columns of a row: one step in billions has any.
void CSquaring::_CarryFurther(CStepFrame& rFrame) {
    const CShape& rShape = rFrame.Shape;
    const uint32_t uRadix = std::countr_zero(rShape.uRows) % 2 == 0 ? 4 : 8, uChild = rShape.uRows / uRadix;
    const CResidues& rResidues = m_pTables->m_Residues;
    for (uint32_t uStream = 0; uStream < 2 * rShape.uRows; ++uStream) {
        const uint32_t uHalf = uStream / rShape.uRows, uRow = uStream % rShape.uRows, k = uRow / uChild;
        double dCarry = rFrame.pCarries[(2 * (uRow % uChild * (uRadix / 4) + k / 4) + uHalf) * 4 + k % 4];
        uint32_t uDigit = uStream * rShape.uColumns + 4;
        for (uint32_t i = 0; dCarry != 0 && i < 2 * Size().uWords; ++i, ++uDigit) {
            if (uDigit == Size().uWords) uDigit = 0, dCarry = -dCarry;
            // A fault may have left anything here: the checks have the last word on it.
            const bool bNumbers = std::fabs(dCarry) < 0x1p31 && std::fabs(_Digit(uDigit)) < 0x1p31 &&
                                  std::fabs(rFrame.Sums.dDigits[0][0]) < 0x1p53 &&
                                  std::fabs(rFrame.Sums.dCarries[0][0]) < 0x1p53;
            if (!bNumbers) return;
            double& rdDigit = _Digit(uDigit);
            const double dSum = rdDigit + dCarry, dNew = dSum - std::nearbyint(dSum / rFrame.dBase) * rFrame.dBase;
            dCarry = std::nearbyint(dSum / rFrame.dBase);
            const double dWeight = rResidues.Balanced(rResidues.Power(m_pTables->m_ullRoot, uDigit));
            const auto Add = [&](double& rdSum, double d) {
                rdSum = rResidues.Balanced(rResidues.Of(static_cast<int64_t>(rdSum) +
                                                        static_cast<int64_t>(d) * static_cast<int64_t>(dWeight)));
            };
            Add(rFrame.Sums.dDigits[0][0], dNew - rdDigit);
            Add(rFrame.Sums.dCarries[0][0], dCarry);
            rdDigit = dNew;
        }
    }
}

/// The step's two checks: what lies in memory is x^2 + 1 at the root, and came out of the transform near to integers.
bool CSquaring::_Check(const CStepFrame& rFrame, CFinding& rFinding) {
    const CResidues& rResidues = m_pTables->m_Residues;
    const auto Total = [&](const double(&dSums)[2][kMaxLanes]) {
        double dTotal[2] = {};
        for (uint32_t i = 0; i < 2 * kMaxLanes; ++i) dTotal[i / kMaxLanes] += dSums[i / kMaxLanes][i % kMaxLanes];
        for (const double d : dTotal)
            if (!(std::fabs(d) < 0x1p53) || d != std::nearbyint(d)) return rResidues.m_ullPrime;  // equals no residue
        return rResidues.Add(
            rResidues.Of(static_cast<int64_t>(dTotal[0])),
            rResidues.Multiply(rResidues.Of(static_cast<int64_t>(dTotal[1])), m_pTables->m_ullImaginary));
    };
    const uint64_t ullDigits = Total(rFrame.Sums.dDigits), ullCarries = Total(rFrame.Sums.dCarries);
    // A carry takes 2^bits from its digit and gives one to the next: root - 2^bits at its digit.
    const uint64_t ullCarry = rResidues.Add(uint64_t{1} << Size().uBits, rResidues.m_ullPrime - m_pTables->m_ullRoot);
    const bool bNumbers = std::max(ullDigits, ullCarries) < rResidues.m_ullPrime;
    const uint64_t ullFound =
        bNumbers ? rResidues.Add(ullDigits, rResidues.Multiply(ullCarries, ullCarry)) : rResidues.m_ullPrime;
    const uint64_t ullExpected = rResidues.Add(rResidues.Multiply(m_ullChecksum, m_ullChecksum), 1);
    m_ullChecksum = ullDigits;
    if (!bNumbers) m_dRoundOff = std::numeric_limits<double>::infinity();  // it ran away, and there is no checksum
    if (!(m_dRoundOff <= m_pTables->m_dRoundOffLimit))
        rFinding = _Finding(ECheck::kRoundOff, ullExpected, bNumbers ? ullFound : ullExpected);
    else if (ullFound != ullExpected)
        rFinding = _Finding(ECheck::kChecksum, ullExpected, ullFound);
    return rFinding.eCheck == ECheck::kNone;
}

bool CSquaring::Finish(const std::atomic<bool>& rStop, CFinding& rFinding) {
    rFinding = {};
    for (uint32_t i = 0; i < Size().uWords; ++i) {
        if (i % kDigitsAtOnce == 0 && rStop.load(std::memory_order_relaxed)) return false;
        if (g_IsDigit(_Digit(i), Size().uBits)) continue;
        rFinding = _Finding(ECheck::kDigitRange, uint64_t{1} << (Size().uBits - 1), std::bit_cast<uint64_t>(_Digit(i)));
        rFinding.uPlace = i;
        return false;
    }
    uint64_t ullFound = 0;
    if (!_Evaluate(rStop, ullFound)) return false;
    if (ullFound != m_ullChecksum) rFinding = _Finding(ECheck::kKeptDigits, m_ullChecksum, ullFound);
    return rFinding.eCheck == ECheck::kNone;
}

bool CSquaring::Pass(uint64_t ullSeed, const std::atomic<bool>& rStop, CFinding& rFinding) {
    rFinding = {};
    if (!Load(ullSeed, rStop)) return false;
    for (uint32_t i = 0; i < Size().uSteps; ++i)
        if (!Step(rStop, rFinding)) return false;
    return Finish(rStop, rFinding);
}

}  // namespace vxt::fft
