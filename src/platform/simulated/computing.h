// Threads that compute in real time, and one that waits for what they find in virtual time.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <new>
#include <thread>

namespace vxt::platform::simulated {

/// All calls from any thread.
class CComputing {
public:
    void Begin() { _Change(m_nThreads, 1); }
    void End() { _Change(m_nThreads, -1); }
    void FoundError() { _Change(m_nErrors, 1); }

    /// Lets virtual time pass by `LetPass()`, which tells whether an error fell due in it. That one is waited for, until a test
    /// has found one or nobody computes any more: a fault shows only where a computation is compared with what it should be,
    /// which may take longer than an hour of virtual time. Some are never seen (a bit that rounding takes away); then the next
    /// one has to do, and after kMostSeconds the next call.
    template <class TLetPass> void Sleep(uint32_t uMilliseconds, TLetPass LetPass) {
        const int64_t nErrors = _Errors();
        const bool bDue = LetPass();
        // Who computes gets a turn.
        std::this_thread::sleep_for(std::chrono::microseconds(uMilliseconds / kVirtualPerReal));
        std::unique_lock Guard(m_Lock);
        if (bDue) m_Changed.wait_for(Guard, kMostSeconds, [&] { return m_nThreads == 0 || m_nErrors != nErrors; });
    }

private:
    static constexpr uint32_t kVirtualPerReal = 10;  ///< ms to us
    static constexpr std::chrono::seconds kMostSeconds{5};

    void _Change(int64_t& rnCount, int nBy) {
        const std::lock_guard Guard(m_Lock);
        rnCount += nBy;
        m_Changed.notify_all();
    }
    int64_t _Errors() {
        const std::lock_guard Guard(m_Lock);
        return m_nErrors;
    }

    std::mutex m_Lock;
    std::condition_variable m_Changed;
    int64_t m_nThreads = 0, m_nErrors = 0;
};

/// Never destroyed: threads may end after every static object. Takes no memory, which could fail.
inline CComputing& g_GetComputing() {
    alignas(CComputing) static std::byte s_aPlace[sizeof(CComputing)];
    static CComputing* const s_pComputing = new (s_aPlace) CComputing;
    return *s_pComputing;
}

}  // namespace vxt::platform::simulated
