#include "bench/fft/tables.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>

namespace vxt::fft {

namespace {

/// The form of a size: rows fit into the first-level cache, those of large numbers into the second-level one, as blocks of
/// columns do. The round-off is the largest of 20 000 steps (from 2^16 words: of 2^26 / words, at least 8), with either
/// path; what a check allows is eight times that.
struct CForm {
    uint32_t uWords, uColumns;
    double dRoundOff;
    uint64_t ullFactor = 0;  ///< a prime factor of 2^(words * bits) + 1, below 2^31; 0: none is known
};
constexpr CForm kForms[] = {
    {1 << 11, 256, 9.8e-5, 1214251009},
    {1 << 12, 256, 1.45e-4, 825753601},
    {1 << 13, 1024, 2.6e-4},
    {1 << 14, 1024, 3.7e-4},
    {1 << 15, 1024, 4.7e-4},
    {1 << 16, 1024, 7.3e-4},
    {1 << 17, 1024, 9.5e-4},
    {1 << 18, 1024, 1.34e-3},
    {1 << 19, 1024, 1.93e-3},
    {1 << 20, 1024, 2.9e-3},
    {1 << 21, 4096, 1.05e-3},
    {1 << 22, 4096, 1.5e-3},
    {1 << 23, 4096, 2.1e-3},
};
constexpr double kAllowed = 8;

const CForm& g_FormOf(uint32_t uWords) { return kForms[g_FindSize(uWords) - kSizes]; }

constexpr CShape g_ShapeOf(const CForm& rForm) {
    return {rForm.uWords / 2 / rForm.uColumns, rForm.uColumns,
            static_cast<uint32_t>(std::countr_zero(rForm.uColumns)) / 2 - 1};
}

constexpr bool g_AreAllThere() {
    for (size_t i = 0; i < std::size(kSizes); ++i)
        if (kForms[i].uWords != kSizes[i].uWords) return false;
    return std::size(kForms) == std::size(kSizes);
}
static_assert(g_AreAllThere());

/// e(sum of bit i of uBits / 2^(i + uShift)), e(t) = exp(2 pi i t): angles of nodes, as kernel_passes.h numbers them.
struct CRoot {
    CRoot(uint64_t uBits, uint32_t uShift) {
        long double dTurn = 0, dWeight = std::ldexp(1.0L, -static_cast<int>(uShift));
        for (; uBits; uBits >>= 1, dWeight /= 2)
            if (uBits & 1) dTurn += dWeight;
        dRe = static_cast<double>(std::cos(2 * std::numbers::pi_v<long double> * dTurn));
        dIm = static_cast<double>(std::sin(2 * std::numbers::pi_v<long double> * dTurn));
    }
    double dRe, dIm;
};

bool g_IsPrime(uint64_t ullNumber) {
    for (uint64_t i = 3; i * i <= ullNumber; i += 2)
        if (ullNumber % i == 0) return false;
    return true;
}

constexpr uint32_t kRootNodes[] = {2, 4, 5};  ///< the root, and the two that it falls into first

constexpr size_t g_Rounded(size_t uDoubles) { return (uDoubles + 7) / 8 * 8; }

}  // namespace

bool CAlignedMemory::Allocate(size_t uDoubles) {
    constexpr size_t kLine = 64;
    m_pMemory.reset(new (std::nothrow) double[uDoubles + kLine / sizeof(double)]());
    if (!m_pMemory) return false;
    const auto uBegin = reinterpret_cast<uintptr_t>(m_pMemory.get());
    m_Doubles = {m_pMemory.get() + ((uBegin + kLine - 1) / kLine * kLine - uBegin) / sizeof(double), uDoubles};
    return true;
}

uint64_t CResidues::Power(uint64_t ullBase, uint64_t ullExponent) const {
    uint64_t ullResult = 1;
    for (; ullExponent; ullExponent >>= 1, ullBase = Multiply(ullBase, ullBase))
        if (ullExponent & 1) ullResult = Multiply(ullResult, ullBase);
    return ullResult;
}

uint64_t CResidues::Of(int64_t llValue) const {
    const int64_t llRest = llValue % static_cast<int64_t>(m_ullPrime);
    return static_cast<uint64_t>(llRest < 0 ? llRest + static_cast<int64_t>(m_ullPrime) : llRest);
}

double CResidues::Balanced(uint64_t ullValue) const {
    const auto llValue = static_cast<int64_t>(ullValue);
    return static_cast<double>(ullValue > m_ullPrime / 2 ? llValue - static_cast<int64_t>(m_ullPrime) : llValue);
}

std::shared_ptr<const CTables> CTables::Make(uint32_t uWords, EPath ePath) {
    const CSize* const pSize = g_FindSize(uWords);
    if (!pSize || ePath > g_BestPath()) return nullptr;
    std::shared_ptr<CTables> pTables;
    try {
        pTables = std::make_shared<CTables>();
    } catch (const std::bad_alloc&) { return nullptr; }
    CTables& rTables = *pTables;
    const CForm& rForm = g_FormOf(uWords);
    const CShape& rShape = rTables.m_Shape = g_ShapeOf(rForm);
    rTables.m_Size = *pSize, rTables.m_ePath = ePath;
    rTables.m_dRoundOffLimit = kAllowed * rForm.dRoundOff;
    rTables.m_uLanes = ePath == EPath::kAvx2 ? 4 : 2;
    rTables.m_uBlockColumns = uWords <= 1 << 13 ? 64 : 16;  // few rows: more columns fit into the cache
    rTables.m_uSumColumns = uWords <= 1 << 20 ? rTables.m_uBlockColumns : 8;
    rTables.m_uColumnBits = static_cast<uint32_t>(std::countr_zero(rForm.uColumns));
    rTables.m_uRowDoubles = 2 * size_t{rForm.uColumns} + kRowPadding;

    const size_t uColumnTwiddles = g_Rounded(kTwiddleDoubles * size_t{std::max(rShape.uRows, 8U)});
    const size_t uRootTwiddles = std::size(kRootNodes) * kTwiddleDoubles * rTables.m_uLanes;
    const size_t uRowBases = g_Rounded(2 * size_t{rShape.uLevels} * rShape.uRows), uNodes = rForm.uColumns / 8;
    const size_t uRowWeights = g_Rounded(rShape.uRows), uColumnWeights = rTables.m_uBlockColumns * rTables.m_uLanes;
    if (!rTables.m_Memory.Allocate(uColumnTwiddles + g_Rounded(uRootTwiddles) + uRowBases + uNodes + uRowWeights +
                                   uColumnWeights + kDigitWeights))
        return nullptr;
    rTables.m_pColumnTwiddles = rTables.m_Memory.m_Doubles.data();
    rTables.m_pRootTwiddles = rTables.m_pColumnTwiddles + uColumnTwiddles;
    rTables.m_pRowBases = rTables.m_pRootTwiddles + g_Rounded(uRootTwiddles);
    rTables.m_pNodeTwiddles = rTables.m_pRowBases + uRowBases;
    rTables.m_pRowWeights = rTables.m_pNodeTwiddles + uNodes;
    rTables.m_pColumnWeights = rTables.m_pRowWeights + uRowWeights;
    rTables.m_pDigitWeights = rTables.m_pColumnWeights + uColumnWeights;
    rTables._FillTwiddles();
    rTables._FindRoot();
    rTables._FillWeights();
    return pTables;
}

void CTables::_FillTwiddles() {
    for (uint32_t uNode = 2; uNode < std::max(m_Shape.uRows, 8U); ++uNode) {
        double* const p = m_pColumnTwiddles + kTwiddleDoubles * uNode;
        for (uint32_t uPower = 1; uPower <= 3; ++uPower) {
            // The angle's multiples, exactly: three quarters of a quarter turn are its half and its quarter.
            long double dTurn = 0, dWeight = 1.0L / 8;
            for (uint32_t uBits = uNode; uBits; uBits >>= 1, dWeight /= 2)
                if (uBits & 1) dTurn += dWeight;
            const long double dAngle = 2 * std::numbers::pi_v<long double> * dTurn * uPower;
            p[2 * uPower - 2] = static_cast<double>(std::cos(dAngle));
            p[2 * uPower - 1] = static_cast<double>(std::sin(dAngle));
        }
    }
    double* pRoot = m_pRootTwiddles;
    for (const uint32_t uNode : kRootNodes)
        for (uint32_t i = 0; i < kTwiddleDoubles; ++i)
            for (uint32_t uLane = 0; uLane < m_uLanes; ++uLane)
                *pRoot++ = m_pColumnTwiddles[kTwiddleDoubles * uNode + i];
    for (uint32_t uRow = 0; uRow < m_Shape.uRows; ++uRow)
        for (uint32_t uLevel = 0; uLevel < m_Shape.uLevels; ++uLevel) {
            const CRoot Root(2 * m_Shape.uRows + uRow, 2 * uLevel + 3);
            double* const p = m_pRowBases + 2 * (uRow * m_Shape.uLevels + uLevel);
            p[0] = Root.dRe, p[1] = Root.dIm;
        }
    for (uint32_t uNode = 0; uNode < m_Shape.uColumns / 16; ++uNode) {
        const CRoot Root(uNode, 3);
        double* const p = m_pNodeTwiddles + uNode / m_uLanes * 2 * m_uLanes + uNode % m_uLanes;
        p[0] = Root.dRe, p[m_uLanes] = Root.dIm;
    }
}

void CTables::_FindRoot() {
    m_Residues.m_ullPrime = g_FormOf(m_Size.uWords).ullFactor;
    if (m_Residues.m_ullPrime != 0) {
        m_ullRoot = uint64_t{1} << m_Size.uBits, m_bCarriesCount = false;  // its power of words is -1 by itself
        return;
    }
    // The smallest prime that has the root and leaves one wrong result in 2^24 unseen: small, so that sums stay exact.
    const uint64_t ullOrder = 2 * uint64_t{m_Size.uWords};
    m_Residues.m_ullPrime = (uint64_t{1} << 24) + 1;  // a multiple of every order, and one
    while (!g_IsPrime(m_Residues.m_ullPrime)) m_Residues.m_ullPrime += ullOrder;
    // Of several roots the one whose first powers are smallest: the sums stay even further from 2^53.
    double dSmallest = 0;
    for (uint64_t ullBase = 2; ullBase < 400; ++ullBase) {
        const uint64_t ullRoot = m_Residues.Power(ullBase, (m_Residues.m_ullPrime - 1) / ullOrder);
        if (m_Residues.Power(ullRoot, m_Size.uWords) != m_Residues.m_ullPrime - 1) continue;
        double dSize = 0;
        for (uint32_t i = 0; i < m_uBlockColumns; i += m_uSumColumns) {
            double dSum = 0;
            for (uint32_t k = i; k < i + m_uSumColumns; ++k)
                dSum += std::pow(m_Residues.Balanced(m_Residues.Power(ullRoot, k)), 2);
            dSize = std::max(dSize, dSum);
        }
        if (m_ullRoot == 0 || dSize < dSmallest) m_ullRoot = ullRoot, dSmallest = dSize;
    }
}

void CTables::_FillWeights() {
    m_ullImaginary = m_Residues.Power(m_ullRoot, m_Size.uWords / 2);
    m_dBlockRoot = m_Residues.Balanced(m_Residues.Power(m_ullRoot, m_uBlockColumns));
    m_dDigitRoot = m_Residues.Balanced(m_Residues.Power(m_ullRoot, kDigitWeights));
    for (uint32_t i = 0; i < m_uBlockColumns * m_uLanes; ++i)
        m_pColumnWeights[i] = m_Residues.Balanced(m_Residues.Power(m_ullRoot, i / m_uLanes));
    for (uint32_t i = 0; i < kDigitWeights; ++i)
        m_pDigitWeights[i] = m_Residues.Balanced(m_Residues.Power(m_ullRoot, i));
    const uint32_t uRadix = std::countr_zero(m_Shape.uRows) % 2 == 0 ? 4 : 8, uChild = m_Shape.uRows / uRadix;
    for (uint32_t k = 0; k < uRadix; ++k)
        for (uint32_t i = 0; i < uChild; ++i)
            m_pRowWeights[(i * (uRadix / 4) + k / 4) * 4 + k % 4] =
                m_Residues.Balanced(m_Residues.Power(m_ullRoot, uint64_t{m_Shape.uColumns} * (k * uChild + i)));
}

size_t CTables::WorkDoubles(uint32_t uWords) {
    const CShape Shape = g_ShapeOf(g_FormOf(uWords));
    size_t uDoubles = (2 * size_t{Shape.uColumns} + kRowPadding + 2) * Shape.uRows;
    for (uint32_t i = 0; i < Shape.uLevels; ++i)
        uDoubles += kTwiddleDoubles * size_t{std::max(1U << (2 * i), kMaxLanes)};
    return uDoubles;
}

size_t CTables::Place(uint32_t uDigit) const {
    const uint32_t uPoints = m_Size.uWords / 2, uPoint = uDigit & (uPoints - 1), uLane = uDigit & (m_uLanes - 1);
    const uint32_t uColumn = uPoint & (m_Shape.uColumns - 1);
    return (uPoint >> m_uColumnBits) * m_uRowDoubles + 2 * size_t{uColumn - uLane} + uLane +
           (uDigit == uPoint ? 0 : m_uLanes);
}

}  // namespace vxt::fft
