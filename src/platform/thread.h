// The calling thread, and threads of the library's own.
#pragma once

#include <cstdint>
#include <memory>

namespace vxt::platform {

/// Pins the calling thread to the processors of `uMask`, one bit each, until the next call; it runs on one of them when the
/// call returns. False (and no change) when one of them does not exist or is not the process's.
bool SetThreadAffinity(uint32_t uMask);

/// A thread of the library's own; it keeps the library loaded until it ends. One thread at a time may start and join it.
class CThread {
public:
    CThread();
    CThread(const CThread&) = delete;
    ~CThread();  ///< joins

    /// Runs the function on a new thread. False, and nothing started, when one runs that was not joined or the system gives
    /// none. The function must not throw.
    bool Start(void (*pFunction)(void*), void* pArgument);
    /// Blocks until the function has returned; at once when nothing was started. Never from the thread itself.
    void Join();

private:
    struct CSystemThread;
    std::unique_ptr<CSystemThread> m_pThread;
};

}  // namespace vxt::platform
