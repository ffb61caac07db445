#include "bench/fft/squaring.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vxt::fft {

namespace {

constexpr uint64_t kPrime = 167772161, kGenerator = 3;  // 5 * 2^25 + 1

uint64_t g_Multiply(uint64_t ullA, uint64_t ullB) { return ullA * ullB % kPrime; }

uint64_t g_Power(uint64_t ullBase, uint64_t ullExponent) {
    uint64_t ullResult = 1;
    for (; ullExponent; ullExponent >>= 1, ullBase = g_Multiply(ullBase, ullBase))
        if (ullExponent & 1) ullResult = g_Multiply(ullResult, ullBase);
    return ullResult;
}

}  // namespace

class CTables {
public:
    CSize m_Size;
};

EPath g_BestPath() {
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") ? EPath::kAvx2 : EPath::kSse2;
}

std::shared_ptr<const CTables> CSquaring::MakeTables(uint32_t uWords, EPath ePath) {
    const CSize* const pSize = g_FindSize(uWords);
    if (!pSize || ePath > g_BestPath()) return nullptr;
    try {
        return std::make_shared<CTables>(CTables{*pSize});
    } catch (const std::bad_alloc&) { return nullptr; }
}

std::unique_ptr<CSquaring> CSquaring::Make(std::shared_ptr<const CTables> pTables) {
    if (!pTables) return nullptr;
    std::unique_ptr<CSquaring> pSquaring(new (std::nothrow) CSquaring(std::move(pTables)));
    if (pSquaring) {
        pSquaring->m_pMemory.reset(new (std::nothrow) double[pSquaring->Size().uWords]());
        pSquaring->m_pWork = pSquaring->m_pMemory.get();
        if (!pSquaring->m_pWork) pSquaring.reset();
    }
    return pSquaring;
}

CSquaring::CSquaring(std::shared_ptr<const CTables> pTables) : m_pTables(std::move(pTables)) {}
CSquaring::~CSquaring() = default;
size_t CSquaring::Bytes(uint32_t uWords) { return uWords * sizeof(double); }
const CSize& CSquaring::Size() const { return m_pTables->m_Size; }

static uint64_t g_Checksum(std::span<const double> Digits) {
    const uint64_t ullRoot = g_Power(kGenerator, (kPrime - 1) / (2 * Digits.size()));
    uint64_t ullSum = 0;
    for (size_t i = Digits.size(); i-- > 0;)
        ullSum = (g_Multiply(ullSum, ullRoot) +
                  static_cast<uint64_t>(static_cast<int64_t>(Digits[i]) % static_cast<int64_t>(kPrime) +
                                        static_cast<int64_t>(kPrime))) %
                 kPrime;
    return ullSum;
}

void CSquaring::Load(uint64_t ullSeed) {
    const int nHalf = 1 << (Size().uBits - 1);
    for (uint32_t i = 0; i < Size().uWords; ++i) {
        ullSeed += 0x9E3779B97F4A7C15;
        uint64_t ullMixed = (ullSeed ^ (ullSeed >> 30)) * 0xBF58476D1CE4E5B9;
        ullMixed = (ullMixed ^ (ullMixed >> 27)) * 0x94D049BB133111EB;
        m_pWork[i] = static_cast<double>(static_cast<int>(ullMixed >> (64 - Size().uBits)) - nHalf);
    }
    m_uStep = 0;
    m_ullChecksum = g_Checksum({m_pWork, Size().uWords});
}

bool CSquaring::Load(std::span<const double> Digits) {
    const double dHalf = static_cast<double>(1 << (Size().uBits - 1));
    if (Digits.size() != Size().uWords) return false;
    for (const double dDigit : Digits)
        if (!(std::fabs(dDigit) <= dHalf) || dDigit != std::rint(dDigit)) return false;
    std::copy(Digits.begin(), Digits.end(), m_pWork);
    m_uStep = 0;
    m_ullChecksum = g_Checksum(Digits);
    return true;
}

// z[0..M) of C[x]/(x^M - e(dAngle)): forward by halves, squared at the bottom, and back.
static void g_Square(double* pRe, double* pIm, uint32_t uPoints, double dAngle) {
    if (uPoints == 1) {
        const double dRe = *pRe;
        *pRe = dRe * dRe - *pIm * *pIm;
        *pIm = 2 * dRe * *pIm;
        return;
    }
    const uint32_t uHalf = uPoints / 2;
    const double dC = std::cos(std::numbers::pi * dAngle), dS = std::sin(std::numbers::pi * dAngle);
    for (uint32_t i = 0; i < uHalf; ++i) {
        const double dRe = dC * pRe[i + uHalf] - dS * pIm[i + uHalf], dIm = dC * pIm[i + uHalf] + dS * pRe[i + uHalf];
        pRe[i + uHalf] = pRe[i] - dRe, pIm[i + uHalf] = pIm[i] - dIm;
        pRe[i] += dRe, pIm[i] += dIm;
    }
    g_Square(pRe, pIm, uHalf, dAngle / 2);
    g_Square(pRe + uHalf, pIm + uHalf, uHalf, dAngle / 2 + 0.5);
    for (uint32_t i = 0; i < uHalf; ++i) {
        const double dRe = pRe[i] - pRe[i + uHalf], dIm = pIm[i] - pIm[i + uHalf];
        pRe[i] += pRe[i + uHalf], pIm[i] += pIm[i + uHalf];
        pRe[i + uHalf] = dC * dRe + dS * dIm, pIm[i + uHalf] = dC * dIm - dS * dRe;
    }
}

bool CSquaring::Step(const std::atomic<bool>& rStop, CFinding& rFinding) {
    const uint32_t uWords = Size().uWords, uPoints = uWords / 2;
    const double dBase = static_cast<double>(1 << Size().uBits);
    rFinding = {};
    if (rStop.load(std::memory_order_relaxed)) return false;
    if (m_pHook) m_pHook->Touch({m_pWork, uWords});
    g_Square(m_pWork, m_pWork + uPoints, uPoints, 0.25);
    if (m_pHook) m_pHook->Touch({m_pWork, uWords});
    m_dRoundOff = 0;
    double dCarry = 1;
    for (uint32_t i = 0; i < uWords; ++i) {
        const double dValue = m_pWork[i] / uPoints, dWhole = std::rint(dValue);
        m_dRoundOff = std::max(m_dRoundOff, std::fabs(dValue - dWhole));
        const double dSum = dWhole + dCarry;
        dCarry = std::rint(dSum / dBase);
        m_pWork[i] = dSum - dCarry * dBase;
    }
    dCarry = -dCarry;
    for (uint32_t i = 0; dCarry != 0; i = (i + 1) % uWords) {
        const double dSum = m_pWork[i] + dCarry;
        dCarry = std::rint(dSum / dBase);
        m_pWork[i] = dSum - dCarry * dBase;
        if (i + 1 == uWords) dCarry = -dCarry;
    }
    m_ullChecksum = g_Checksum({m_pWork, uWords});
    ++m_uStep;
    if (m_dRoundOff > 0.25) {
        rFinding = {ECheck::kRoundOff, uWords, m_uStep - 1, m_dRoundOff, 0.25, 0, 0, kUnknownWord, 0};
        return false;
    }
    return true;
}

bool CSquaring::Finish(CFinding& rFinding) {
    rFinding = {};
    const uint64_t ullFound = g_Checksum({m_pWork, Size().uWords});
    if (ullFound == m_ullChecksum) return true;
    rFinding = {
        ECheck::kKeptDigits, Size().uWords, m_uStep, m_dRoundOff, 0.25, m_ullChecksum, ullFound, kUnknownWord, 0};
    return false;
}

bool CSquaring::Pass(uint64_t ullSeed, const std::atomic<bool>& rStop, CFinding& rFinding) {
    Load(ullSeed);
    for (uint32_t i = 0; i < Size().uSteps; ++i)
        if (!Step(rStop, rFinding)) return false;
    return Finish(rFinding);
}

void CSquaring::Digits(std::span<double> Digits) const { std::copy_n(m_pWork, Digits.size(), Digits.begin()); }

}  // namespace vxt::fft
