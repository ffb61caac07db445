// The processor tester's computations: their results against numbers found in another way, their scores, and wrong results.
#include <gtest/gtest.h>

#include <limits>

#include "bench/computation.h"
#include "bench/decimal_digits.h"
#include "support/simulated_pc.h"

namespace {

using namespace vxt;

/// A fixed-point number: words of nine digits, the first one before the point.
using CFixed = std::vector<uint64_t>;
constexpr uint64_t kWord = 1'000'000'000;

/// Divides the words from `uFirst` on.
void g_Divide(CFixed& rNumber, uint64_t ullDivisor, size_t uFirst) {
    uint64_t ullRemainder = 0;
    for (size_t i = uFirst; i < rNumber.size(); ++i) {
        const uint64_t ullValue = ullRemainder * kWord + rNumber[i];
        rNumber[i] = ullValue / ullDivisor;
        ullRemainder = ullValue % ullDivisor;
    }
}

/// uFactor * arctan(1 / uInverse), to be added to or taken from the sum.
void g_AddArctan(CFixed& rSum, uint64_t ullFactor, uint64_t ullInverse, bool bSubtract) {
    CFixed Power(rSum.size());
    Power[0] = ullFactor;
    g_Divide(Power, ullInverse, 0);
    size_t uFirst = 0;
    for (uint64_t ullOdd = 1;; ullOdd += 2, bSubtract = !bSubtract) {
        while (uFirst < Power.size() && Power[uFirst] == 0) ++uFirst;
        if (uFirst == Power.size()) return;
        CFixed Term = Power;
        g_Divide(Term, ullOdd, uFirst);
        uint64_t ullCarry = 0;
        for (size_t i = rSum.size(); i-- > 0 && (i >= uFirst || ullCarry);) {
            const uint64_t ullTerm = Term[i] + ullCarry;
            ullCarry = bSubtract ? rSum[i] < ullTerm : rSum[i] + ullTerm >= kWord;
            rSum[i] = bSubtract ? rSum[i] + ullCarry * kWord - ullTerm : rSum[i] + ullTerm - ullCarry * kWord;
        }
        g_Divide(Power, ullInverse * ullInverse, uFirst);
    }
}

/// The digits of pi by J. Machin's formula, 16 arctan(1/5) - 4 arctan(1/239), without the point.
std::string g_Pi(uint32_t uDigits) {
    CFixed Sum(uDigits / 9 + 5);
    g_AddArctan(Sum, 16, 5, false);
    g_AddArctan(Sum, 4, 239, true);
    std::string sDigits = std::to_string(Sum[0]);
    for (size_t i = 1; i < Sum.size(); ++i) sDigits += std::to_string(kWord + Sum[i]).substr(1);
    return sDigits.substr(0, uDigits);
}

uint64_t g_ChecksumOfText(const std::string& sDigits) {
    uint64_t ullChecksum = 0xCBF29CE484222325;
    const auto Add = [&](char c) { ullChecksum = (ullChecksum ^ static_cast<uint8_t>(c)) * 0x100000001B3; };
    for (size_t i = 0; i < sDigits.size(); ++i) {
        Add(sDigits[i]);
        if (i % 60 == 59)
            Add('\n');
        else if (i % 10 == 9)
            Add(' ');
    }
    return ullChecksum;
}

TEST(DecimalDigits, AreThoseOfMachinsFormula) {
    const std::string sPi = g_Pi(10'000);
    EXPECT_EQ(sPi.substr(760, 10), "3499999983");
    EXPECT_EQ(CIntegerComputation::kWork.ullChecksum, g_ChecksumOfText(sPi));
    for (const uint32_t uDigits : {1u, 2u, 10u, 60u, 61u, 761u, 764u, 1000u}) {  // 764: inside six nines
        CDecimalDigits Digits(uDigits);
        EXPECT_TRUE(Digits.Compute());
        EXPECT_EQ(Digits.Checksum(), g_ChecksumOfText(sPi.substr(0, uDigits))) << uDigits;
    }
}

/// A clock that stands at 0 and at the row's seconds in turn.
double s_dSeconds;
double g_RowClock() {
    static bool s_bSecond = true;
    s_bSecond = !s_bSecond;
    return s_bSecond ? s_dSeconds : 0.0;
}

const CIntegerComputation::CWork kDigits{61, 0x4536B2D1F591CC6A};  // AreThoseOfMachinsFormula holds for 61
/// From the same 113-bit arithmetic as the full run's.
const CFloatingPointComputation::CWork kLoops{
    2,
    {{{-6.69913104360362814e-02, -4.65866391492820291e-01, -7.32614020297493852e-01, -1.13145405651497982e+00},
      {-6.43516380422258069e-02, -4.62734364258882484e-01, -7.28810012995897766e-01, -1.12721791623512004e+00},
      {1},
      {1, 2, 6, 6},
      {4.98069792251102491e-01, 4.98054678229879746e-01},
      {3, 2, 3},
      {7.69403201816925688e-01}}}};

TEST(Scores, AreRoundedAndDigitsGetNotMoreThanAThousand) {
    constexpr struct {
        double dSeconds, dDigits, dLoops;
    } kCases[] = {{0.0007, 1000, 286}, {0.0003, 1000, 667}, {1.0, 1000, 0},
                  {1.5, 667, 0},       {2.5, 400, 0},       {3.0, 333, 0}};
    CIntegerComputation Integer(kDigits, g_RowClock);
    CFloatingPointComputation FloatingPoint(kLoops, g_RowClock);
    EXPECT_EQ(Integer.GetScore() + Integer.GetSeconds() + FloatingPoint.GetScore(), 0.0);
    for (const auto& [dSeconds, dDigits, dLoops] : kCases) {
        s_dSeconds = dSeconds;
        EXPECT_TRUE(Integer.Run() && FloatingPoint.Run());
        EXPECT_EQ(Integer.GetScore(), dDigits);
        EXPECT_EQ(Integer.GetSeconds(), dSeconds);
        EXPECT_EQ(FloatingPoint.GetScore(), dLoops) << dSeconds;
    }
}

struct CComputationTest : vxttest::CSimulatedPc {
    /// Neither result nor score, and a line in the log.
    void ExpectWrong(vxt::CComputation& rComputation, const std::string& sCheck, const std::string& sClass) {
        EXPECT_FALSE(rComputation.Run());
        EXPECT_EQ(rComputation.GetScore(), 0.0);
        EXPECT_EQ(m_Log.TakeErrors(), vxttest::Lines{vxttest::g_ProcessError(sCheck, sClass + "::_Compute")});
    }
};

TEST_F(CComputationTest, TheFullRunsGiveTheNumbersThatAreKnown) {
    CFloatingPointComputation FloatingPoint;
    EXPECT_TRUE(FloatingPoint.Run());
    EXPECT_GT(FloatingPoint.GetScore(), 0.0);
    CIntegerComputation Integer;
    EXPECT_TRUE(Integer.Run());
    EXPECT_GT(Integer.GetSeconds(), 0.0);
}

TEST_F(CComputationTest, AWrongNumberOfAnyModuleIsFound) {
    for (size_t i = 0; i < kWhetstoneModules; ++i) {
        SCOPED_TRACE(i);
        CFloatingPointComputation::CWork Work = kLoops;
        Work.Expected[i][0] *= 1 + 1e-6;
        CFloatingPointComputation Computation(Work);
        ExpectWrong(Computation, "bRetCode", "CFloatingPointComputation");
    }
    CWhetstoneResults NoNumber = kLoops.Expected;
    NoNumber[6][0] = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(g_IsSame(NoNumber, kLoops.Expected));
}

TEST_F(CComputationTest, ACoreThatBeginsToErrLosesItsScore) {
    CIntegerComputation Integer(kDigits);
    CFloatingPointComputation FloatingPoint(kLoops);
    EXPECT_TRUE(Integer.Run() && FloatingPoint.Run());
    Start(kDefaultMachine, [](auto& rMachine) { rMachine.uMaxCoreClock = 1000; });  // it runs at 3000 MHz
    ExpectWrong(Integer, "Digits.Checksum() == m_Work.ullChecksum", "CIntegerComputation");
    ExpectWrong(FloatingPoint, "bRetCode", "CFloatingPointComputation");
}

}  // namespace
