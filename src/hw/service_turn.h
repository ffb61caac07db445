// Processes that start or end their use of the driver take turns.
#pragma once

#include "hw/named_object_security.h"
#include "platform/clock.h"
#include "platform/named_objects.h"

namespace vxt {

/// How long one turn waits, all in all, for a service that is stopping or going away.
class CPatience {
public:
    static constexpr uint32_t kMilliseconds = 5'000, kPauseMilliseconds = 10;

    void Renew() { m_uLeft = kMilliseconds; }
    /// Lets some of it go by; false at once when none is left.
    bool Pause() {
        if (m_uLeft == 0) return false;
        m_uLeft -= kPauseMilliseconds;
        platform::Sleep(kPauseMilliseconds);
        return true;
    }

private:
    uint32_t m_uLeft = kMilliseconds;
};

/// While it lives no other process opens, installs, starts, counts, stops or removes the driver: without that, one that
/// ends removes the service which another has just found or made. A process that cannot have its turn goes on all the
/// same: a hanging neighbour must not keep it from starting.
class [[nodiscard]] CServiceTurn {
public:
    /// Waits for it; with it begins new patience.
    explicit CServiceTurn(CPatience& rPatience) : m_hMutex(platform::OpenMutex(kName)) {
        if (!m_hMutex) m_hMutex = platform::CreateMutex(kName, kNamedObjectSecurity);
        const uint32_t uResult = platform::WaitMutex(m_hMutex, kMilliseconds);
        m_bTaken = uResult == platform::kWaitObject0 || uResult == platform::kWaitAbandoned;
        rPatience.Renew();
    }
    CServiceTurn(const CServiceTurn&) = delete;
    ~CServiceTurn() {
        if (m_bTaken) platform::ReleaseMutex(m_hMutex);
    }

private:
    static constexpr const wchar_t* kName = L"Global\\VXTDriverMutex";
    static constexpr uint32_t kMilliseconds = 10'000;

    platform::CMutexHandle m_hMutex;
    bool m_bTaken;
};

}  // namespace vxt
