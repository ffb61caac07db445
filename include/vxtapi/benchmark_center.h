// Benchmarks. Everything here measures the processor and memory of the computer that the program runs on, also where the
// PC that is tuned is a simulated one.
#pragma once

#include <cstdint>

namespace vxtapi {

/// Identifiers of the testers.
enum eTester : uint32_t {
    kTesterProcessor = 0,  ///< CCPUTester
    kTesterMemory = 4,     ///< CMemoryTester
    kTesterCache = 14,     ///< CCacheTester
};

/// A tester; which class follows from its identifier. All of them work on the calling thread and block it: pin it before,
/// so that it stays on one core. One thread at a time.
class CTester {
public:
    virtual const wchar_t* GetName() = 0;  ///< slot 0: "CPUTester", "MemoryTester", "CacheTester"
    /// Slot 1: makes all of its measurements once. False when one of them cannot be made (no memory). The processor
    /// tester's computations keep their scores.
    virtual bool Run() = 0;
    virtual const wchar_t*
    GetUnit() = 0;  ///< slot 2: "MB/s"; null for the processor tester, whose computations have units

protected:
    ~CTester() = default;
};

/// One computation of the processor tester. Owned by it: valid until its Uninit.
class CComputation {
public:
    virtual void Destroy() = 0;  ///< slot 0: deletes it; for the library alone
    virtual double
    GetScore() = 0;  ///< slot 1: of the last run, to the nearest integer; 0.0: none yet, or a wrong result
    virtual const wchar_t* GetUnit() = 0;  ///< slot 2: "MI/s" or "D/s"
    virtual const wchar_t* GetName() = 0;  ///< slot 3: "FloatingPointComputation" or "IntegerComputation"
    /// Slot 4: runs and checks its result. False for a wrong one (a failing processor) and when memory runs out.
    virtual bool Run() = 0;
    virtual double GetSeconds() = 0;  ///< slot 5: that the last run took; 0.0: none yet

protected:
    ~CComputation() = default;
};

/// Identifier 0.
class CCPUTester : public CTester {
public:
    virtual bool GetReserved() = 0;  ///< slot 3: false
    virtual bool Init() = 0;         ///< slot 4: makes the computations; for the library alone
    virtual bool Uninit() = 0;       ///< slot 5: deletes them; for the library alone
    virtual void Destroy() = 0;      ///< slot 6: deletes the tester; for the library alone
    /// Slot 7: the first 10,000 decimal digits of pi. Kept: 1000 D/s when a run takes 1 s or less, so that fast processors
    /// all score 1000; GetSeconds tells them apart.
    virtual CComputation* GetIntegerComputation() = 0;
    virtual CComputation* GetFloatingPointComputation() = 0;  ///< slot 8: the Whetstone benchmark

protected:
    ~CCPUTester() = default;
};

/// Identifier 14. MB are 1024 * 1024 bytes.
class CCacheTester : public CTester {
public:
    virtual bool GetReserved() = 0;        ///< slot 3: false
    virtual bool GetSecondReserved() = 0;  ///< slot 4: false
    /// Slot 5: MB/s of 32-bit loads from the first-level cache; 0: no memory. Reads 16 GiB: a fraction of a second up to a few.
    virtual float MeasureReadBandwidth() = 0;
    virtual uint32_t GetCacheSize() = 0;  ///< slot 6: KiB of second-level cache (CPUID 80000006h); 0: not told
    virtual uint32_t GetLineSize() = 0;   ///< slot 7: bytes of its lines; 0: not told

protected:
    ~CCacheTester() = default;
};

/// Identifier 4. MB are 1024 * 1024 bytes; the region is several times as large as the caches, 64 to 256 MiB. Where memory is
/// short it is smaller, but never less than twice the caches.
class CMemoryTester : public CTester {
public:
    virtual bool GetReserved() = 0;        ///< slot 3: false
    virtual bool GetSecondReserved() = 0;  ///< slot 4: false
    /// Slot 5: MB/s of loads as wide as a pointer, by the calling thread alone; 0: no memory. About 0.3 s, and the time to
    /// fill the region.
    virtual float MeasureReadBandwidth() = 0;
    virtual float MeasureWriteBandwidth() = 0;  ///< slot 6: the same of stores

protected:
    ~CMemoryTester() = default;
};

/// The testers. Obtained from CPerformanceControl::GetBenchmarkCenter.
class CBenchmarkCenter {
public:
    /// Slot 0: one of eTester; null: no such. The center's own, valid until UnInitVXTAPI.
    virtual CTester* GetTester(uint32_t uTester) = 0;

protected:
    ~CBenchmarkCenter() = default;
};

}  // namespace vxtapi
