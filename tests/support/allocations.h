// Memory that runs out: the test program's operator new counts what the library takes, and refuses once.
#pragma once

#include <cstdint>
#include <functional>

namespace vxttest {

/// Counts from construction to Stop. The system's side of the seam has memory of its own, which never runs out.
class CAllocationFault {
public:
    static constexpr uint64_t kNever = ~uint64_t{0};

    /// The allocation after `ullGood` good ones of this thread fails; `OnFailure` runs at that moment.
    explicit CAllocationFault(uint64_t ullGood = kNever, std::function<void()> OnFailure = {});
    CAllocationFault(const CAllocationFault&) = delete;
    ~CAllocationFault() { Stop(); }

    void Stop();
    uint64_t Counted() const { return m_ullCounted; }
    bool HasFailed() const { return m_ullCounted > m_ullGood; }

    bool Refuses();  ///< for operator new

private:
    uint64_t m_ullGood, m_ullCounted = 0;
    std::function<void()> m_OnFailure;
};

}  // namespace vxttest
