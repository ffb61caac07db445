#include "bench/computation.h"

#include <cmath>

#include "api/log/log_checks.h"
#include "bench/decimal_digits.h"

namespace vxt {

double CComputation::GetScore() { return std::round(m_dScore); }

bool CComputation::Run() {
    const double dBegin = m_pClock();
    const bool bRetCode = _Compute();
    m_dSeconds = m_pClock() - dBegin;
    m_dScore = bRetCode ? _Score(m_dSeconds) : 0;
    return bRetCode;
}

/// The checksum is that of digits from J. Machin's formula, which has nothing in common with the spigot.
constinit const CIntegerComputation::CWork CIntegerComputation::kWork{10'000, 0xF4136B5775337DF4};

bool CIntegerComputation::_Compute() {
    CDecimalDigits Digits(m_Work.uDigits);
    const bool bRetCode = Digits.Compute();
    LOG_PROCESS_ERROR(bRetCode);
    LOG_PROCESS_ERROR(Digits.Checksum() == m_Work.ullChecksum);
    return true;
}

/// Kept: not more than 1000, which a run of one second or less gets.
double CIntegerComputation::_Score(double dSeconds) const { return dSeconds <= 1.0 ? 1000.0 : 1.0 / dSeconds * 1000.0; }

/// From a plain program of the same formulas in 113-bit arithmetic. The numbers of the first two modules shrink with every
/// loop; the last one's nears 1.
constinit const CFloatingPointComputation::CWork CFloatingPointComputation::kWork{
    20'000,
    {{{4.62051282845353149e-07, -2.23524828566931147e-07, 3.87032907197860031e-07, -2.98523021707278165e-07},
      {4.38642048652931353e-20, -5.52651199932715024e-20, -6.96292910643254799e-20, -1.68761502147886020e-19},
      {1},
      {1, 2, 6, 6},
      {5.69119095879126029e-15, 5.69104867723874887e-15},
      {3, 2, 3},
      {1}}}};

bool CFloatingPointComputation::_Compute() {
    const bool bRetCode = g_IsSame(g_RunWhetstone(m_Work.uLoops), m_Work.Expected);
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

/// A loop count of 10 stands for a million of the instructions that the benchmark was named after.
double CFloatingPointComputation::_Score(double dSeconds) const { return m_Work.uLoops * 100.0 / dSeconds / 1000.0; }

}  // namespace vxt
