// The processor tester's computations: timed, checked, scored.
#pragma once

#include <vxtapi/benchmark_center.h>

#include "bench/whetstone.h"
#include "platform/clock.h"

namespace vxt {

/// Seconds, from wherever.
using CClock = double (*)();

class CComputation : public vxtapi::CComputation {
public:
    double GetScore() final;
    bool Run() final;
    double GetSeconds() final { return m_dSeconds; }

protected:
    explicit CComputation(CClock pClock) : m_pClock(pClock) {}
    ~CComputation() = default;

private:
    /// Computes everything once. False, with a line in the log: no memory, or a wrong result.
    virtual bool _Compute() = 0;
    virtual double _Score(double dSeconds) const = 0;

    const CClock m_pClock;
    double m_dSeconds = 0, m_dScore = 0;
};

/// Decimal digits of pi.
class CIntegerComputation final : public CComputation {
public:
    struct CWork {
        uint32_t uDigits;
        uint64_t ullChecksum;  ///< CDecimalDigits::Checksum
    };
    static const CWork kWork;

    explicit CIntegerComputation(const CWork& rWork = kWork, CClock pClock = platform::RunningSeconds)
        : CComputation(pClock), m_Work(rWork) {}

    void Destroy() override { delete this; }
    const wchar_t* GetUnit() override { return L"D/s"; }
    const wchar_t* GetName() override { return L"IntegerComputation"; }

private:
    bool _Compute() override;
    double _Score(double dSeconds) const override;

    const CWork m_Work;
};

/// The Whetstone benchmark.
class CFloatingPointComputation final : public CComputation {
public:
    struct CWork {
        uint32_t uLoops;
        CWhetstoneResults Expected;
    };
    static const CWork kWork;

    explicit CFloatingPointComputation(const CWork& rWork = kWork, CClock pClock = platform::RunningSeconds)
        : CComputation(pClock), m_Work(rWork) {}

    void Destroy() override { delete this; }
    const wchar_t* GetUnit() override { return L"MI/s"; }
    const wchar_t* GetName() override { return L"FloatingPointComputation"; }

private:
    bool _Compute() override;
    double _Score(double dSeconds) const override;

    const CWork m_Work;
};

}  // namespace vxt
