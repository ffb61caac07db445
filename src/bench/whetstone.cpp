#include "bench/whetstone.h"

#include <bit>
#include <cmath>

#include "bench/opaque.h"
#include "platform/silicon.h"

namespace vxt {

namespace {

/// The array that modules pass on to each other.
using CElements = CWhetstoneValues;

/// Opaque: with constants the compilers turn whole modules into their results.
struct CFactors {
    const double dT = g_Opaque(0.499975), dT1 = g_Opaque(0.50025), dT2 = g_Opaque(2.0);
};

CWhetstoneValues ArrayElements(const CFactors& rFactors, CElements& e, uint32_t uCount) {
    const double dT = rFactors.dT;
    e = {1.0, -1.0, -1.0, -1.0};
    for (uint32_t u = 0; u < uCount; ++u) {
        e[0] = (e[0] + e[1] + e[2] - e[3]) * dT;
        e[1] = (e[0] + e[1] - e[2] + e[3]) * dT;
        e[2] = (e[0] - e[1] + e[2] + e[3]) * dT;
        e[3] = (-e[0] + e[1] + e[2] + e[3]) * dT;
    }
    return e;
}

[[gnu::noinline]] void g_SixRounds(CElements& e, double dT, double dT2) {
    for (int nRound = 0; nRound < 6; ++nRound) {
        e[0] = (e[0] + e[1] + e[2] - e[3]) * dT;
        e[1] = (e[0] + e[1] - e[2] + e[3]) * dT;
        e[2] = (e[0] - e[1] + e[2] + e[3]) * dT;
        e[3] = (e[2] + (e[1] - e[0]) + e[3]) / dT2;  // Kept: added in this order
    }
}

CWhetstoneValues ArrayAsParameter(const CFactors& rFactors, CElements& e, uint32_t uCount) {
    for (uint32_t u = 0; u < uCount; ++u) g_SixRounds(e, rFactors.dT, rFactors.dT2);
    return e;
}

/// Without opaque numbers two rounds together change nothing, and the compilers see it.
CWhetstoneValues ConditionalJumps(const CFactors&, CElements&, uint32_t uCount) {
    int nJ = g_Opaque(1);
    for (uint32_t u = 0; u < uCount; ++u) {
        if (nJ == 1)
            nJ = g_Opaque(2);
        else
            nJ = g_Opaque(3);
        if (nJ > 2)
            nJ = g_Opaque(0);
        else
            nJ = g_Opaque(1);
        if (nJ < 1)
            nJ = g_Opaque(1);
        else
            nJ = g_Opaque(0);
    }
    return {static_cast<double>(nJ)};
}

/// A round leaves its three numbers as they were, on a processor that computes correctly. Where it does not, the array's
/// places must exist all the same.
CWhetstoneValues IntegerArithmetic(const CFactors&, CElements& e, uint32_t uCount) {
    uint32_t uJ = g_Opaque(1u), uK = g_Opaque(2u), uL = g_Opaque(3u);
    for (uint32_t u = 0; u < uCount; ++u) {
        uJ = uJ * (uK - uJ) * (uL - uK);
        uK = uL * uK - (uL - uJ) * uK;
        uL = (uL - uK) * (uK + uJ);
        e[(uL - 2) % 4] = static_cast<int32_t>(uJ + uK + uL);
        e[(uK - 2) % 4] = static_cast<int32_t>(uJ * uK * uL);
    }
    return {static_cast<double>(uJ), static_cast<double>(uK), e[0], e[1]};
}

/// Opaque: sine and cosine of one angle stay two calls.
double g_Tangent(const CFactors& rFactors, double dAngle, double dX, double dY) {
    const double dDoubleSine = rFactors.dT2 * std::sin(dAngle) * std::cos(g_Opaque(dAngle));
    return rFactors.dT * std::atan(dDoubleSine / (std::cos(dX + dY) + std::cos(dX - dY) - 1.0));
}

CWhetstoneValues TrigonometricFunctions(const CFactors& rFactors, CElements&, uint32_t uCount) {
    double dX = g_Opaque(0.5), dY = dX;
    for (uint32_t u = 0; u < uCount; ++u) {
        dX = g_Tangent(rFactors, dX, dX, dY);
        dY = g_Tangent(rFactors, dY, dX, dY);
    }
    return {dX, dY};
}

[[gnu::noinline]] void g_Permute(CElements& e, uint32_t uJ, uint32_t uK, uint32_t uL) {
    e[uJ] = e[uK];
    e[uK] = e[uL];
    e[uL] = e[uJ];
}

CWhetstoneValues ArrayReferences(const CFactors&, CElements& e, uint32_t uCount) {
    const uint32_t uJ = g_Opaque(1u), uK = g_Opaque(2u), uL = g_Opaque(3u);
    e[1] = 1.0, e[2] = 2.0, e[3] = 3.0;
    for (uint32_t u = 0; u < uCount; ++u) g_Permute(e, uJ, uK, uL);
    return {e[1], e[2], e[3]};
}

CWhetstoneValues StandardFunctions(const CFactors& rFactors, CElements&, uint32_t uCount) {
    double dX = g_Opaque(0.75);
    for (uint32_t u = 0; u < uCount; ++u) dX = std::sqrt(std::exp(std::log(dX) / rFactors.dT1));
    return {dX};
}

struct CModule {
    uint32_t uWeight;
    CWhetstoneValues (*pRun)(const CFactors& rFactors, CElements& rElements, uint32_t uCount);
};
constexpr CModule kModules[kWhetstoneModules] = {
    {12, ArrayElements},          {14, ArrayAsParameter}, {345, ConditionalJumps}, {210, IntegerArithmetic},
    {32, TrigonometricFunctions}, {616, ArrayReferences}, {93, StandardFunctions}};

}  // namespace

CWhetstoneResults g_RunWhetstone(uint32_t uLoops) {
    const CFactors Factors;
    CElements Elements{};
    CWhetstoneResults Results{};
    for (size_t i = 0; i < kWhetstoneModules; ++i) {
        Results[i] = kModules[i].pRun(Factors, Elements, kModules[i].uWeight * uLoops);
        double& rdFirst = Results[i][0];
        rdFirst = std::bit_cast<double>(std::bit_cast<uint64_t>(rdFirst) ^ platform::SiliconFault());
    }
    return Results;
}

bool g_IsSame(const CWhetstoneResults& rFound, const CWhetstoneResults& rExpected) {
    for (size_t i = 0; i < kWhetstoneModules; ++i)
        for (size_t k = 0; k < rFound[i].size(); ++k) {
            const double dGap = std::abs(rFound[i][k] - rExpected[i][k]);
            if (!(dGap <= 1e-9 * std::abs(rExpected[i][k]))) return false;  // no number is no result either
        }
    return true;
}

}  // namespace vxt
