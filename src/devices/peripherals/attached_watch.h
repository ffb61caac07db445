// Looks again and again for what is attached to a controller.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

#include "devices/peripherals/attached_devices.h"
#include "platform/thread.h"

namespace vxt {

/// The list of what is attached, and a thread of its own that keeps it new from the first question on. Any thread may call, several
/// at a time, but for Stop and the destructor: they come after all others. None waits longer than for one look at the tree.
class CAttachedWatch {
public:
    explicit CAttachedWatch(std::chrono::milliseconds Interval) : m_Interval(Interval) {}
    CAttachedWatch(const CAttachedWatch&) = delete;
    ~CAttachedWatch() { Stop(); }

    /// The device of the tree, which must outlive the watch.
    void SetDevice(std::wstring_view sId) { m_sId = sId; }
    /// Looks now. False when the system does not tell or there is no memory: the list stays.
    bool Look();
    /// Looks and starts the thread, unless it runs. False when it does not run afterwards: the list is as new as it gets.
    bool Begin();
    /// Ends the thread and forgets the list.
    void Stop();

    uint32_t Count();
    /// False beyond the last one.
    bool Get(uint32_t uDevice, vxtapi::AttachedDevice& rDevice);
    /// How often the list has become another one.
    uint32_t Changes() const { return m_uChanges; }

private:
    static void _Run(void* pSelf);
    bool _LookInTurn();

    const std::chrono::milliseconds m_Interval;
    std::wstring_view m_sId;
    std::mutex m_Turn;  ///< of looks, so that an older one never replaces a newer one; of starting the thread
    std::mutex m_ListLock;
    CAttachedDevices m_Devices;
    std::atomic<uint32_t> m_uChanges = 0;

    std::atomic<bool> m_bRunning = false;
    std::mutex m_StopLock;
    std::condition_variable m_StopAsked;
    bool m_bStop = false;
    platform::CThread m_Thread;
};

}  // namespace vxt
