// Squares large numbers over and over in double precision and checks every step: the floating-point load of a stability
// test. docs/fft.md tells how, and why the checks suffice.
#pragma once

#include <atomic>
#include <memory>
#include <span>

#include "bench/fft/sizes.h"

namespace vxt::fft {

/// Which instructions do the work. Both give the same digits.
enum class EPath : uint32_t { kSse2, kAvx2 };

/// The best path of the processor this runs on (not of the PC that a machine file describes).
EPath g_BestPath();

/// What a check found. The numbers are those of the error callback.
enum class ECheck : uint32_t {
    kNone = 0,
    kRoundOff = 21,    ///< coefficients of the square are too far from whole numbers
    kChecksum = 22,    ///< the new digits are not those of the old number's square
    kKeptDigits = 23,  ///< at the end of a pass: the digits in memory are not those that the last step wrote
    kDigitRange = 24,  ///< at the end of a pass: a digit that no step writes
};

inline constexpr uint32_t kUnknownWord = ~uint32_t{0};

/// What is known when a step or a pass ends early. Of a stop request: eCheck is kNone, and nothing else is set.
struct CFinding {
    ECheck eCheck = ECheck::kNone;
    uint32_t uWords = 0;
    uint32_t uStep = 0;  ///< of the pass, from 0; uSteps at its end
    double dRoundOff =
        0;  ///< largest distance from whole numbers in this step (docs/fft.md); infinite where it ran away
    double dRoundOffLimit = 0;       ///< what this size is allowed
    uint64_t ullExpected = 0;        ///< checksum, of the checks that have one; kDigitRange: the largest digit allowed
    uint64_t ullFound = 0;           ///< kDigitRange: the double that lies there, bit by bit
    uint32_t uPlace = kUnknownWord;  ///< word, where the check tells one
};

/// Reaches into a number in work, between the stages of a step: how tests and a simulated processor make arithmetic go
/// wrong. May change what it is shown, in any way.
class CFaultHook {
public:
    virtual ~CFaultHook() = default;
    /// `Work`: all that a number in work keeps in memory, digits and spectrum, in an order of its own.
    virtual void Touch(std::span<double> Work) = 0;
};

struct CAlignedMemory;
struct CStepFrame;
class CTables;

/// One number of a size of kSizes. One thread at a time.
class CSquaring {
public:
    /// The tables of a size: read only, to be shared by all the threads that square numbers of that size.
    /// Null: no memory, no such size, or a path that this processor does not have.
    static std::shared_ptr<const CTables> MakeTables(uint32_t uWords, EPath ePath);
    /// Null: no tables, or no memory.
    static std::unique_ptr<CSquaring> Make(std::shared_ptr<const CTables> pTables);

    ~CSquaring();
    CSquaring(const CSquaring&) = delete;

    /// A reproducible random number: the same for both paths. False: `rStop` was set.
    bool Load(uint64_t ullSeed, const std::atomic<bool>& rStop);
    /// Any number, lowest digit first, each from -2^(bits-1) to 2^(bits-1). False, and nothing changed: not so.
    bool Load(std::span<const double> Digits);

    /// Becomes what another number of the same tables is now, without looking at it.
    void Take(const CSquaring& rOther);

    /// x -> x^2 + 1. False: `rStop` was set (looked at every few microseconds), or a check failed; the number is lost then.
    bool Step(const std::atomic<bool>& rStop, CFinding& rFinding);
    /// What the steps cannot see any more: the digits that lie in memory now. To be called at the end of a pass.
    bool Finish(const std::atomic<bool>& rStop, CFinding& rFinding);
    /// A whole pass: Load, the size's steps, Finish.
    bool Pass(uint64_t ullSeed, const std::atomic<bool>& rStop, CFinding& rFinding);

    /// The number's digits, lowest first; `Digits` has room for all of them.
    void Digits(std::span<double> Digits) const;
    const CSize& Size() const;

    /// Null (as it begins): none.
    void SetFaultHook(CFaultHook* pHook) { m_pHook = pHook; }
    /// Off: the step leaves its checks out. For measuring what they cost.
    void SetChecks(bool bOn) { m_bChecks = bOn; }

private:
    explicit CSquaring(std::shared_ptr<const CTables> pTables);
    bool _Evaluate(const std::atomic<bool>& rStop, uint64_t& rullChecksum) const;
    bool _Check(const CStepFrame& rFrame, CFinding& rFinding);
    void _CarryFurther(CStepFrame& rFrame);
    double& _Digit(uint32_t uDigit) const;
    CFinding _Finding(ECheck eCheck, uint64_t ullExpected, uint64_t ullFound) const;

    std::shared_ptr<const CTables> m_pTables;
    std::unique_ptr<CAlignedMemory> m_pMemory;
    uint64_t m_ullChecksum = 0;  ///< of the digits, as the last step wrote them
    uint32_t m_uStep = 0;
    double m_dRoundOff = 0;
    CFaultHook* m_pHook = nullptr;
    bool m_bChecks = true;
};

}  // namespace vxt::fft
