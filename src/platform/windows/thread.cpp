#include "platform/thread.h"

#include <process.h>

#include <new>

#include "platform/windows/windows_api.h"

namespace vxt::platform {

// SetThreadAffinityMask answers the previous mask, 0 when a processor of the new one is not the process's.
bool SetThreadAffinity(uint32_t uMask) { return SetThreadAffinityMask(GetCurrentThread(), uMask) != 0; }

struct CThread::CSystemThread {
    void (*pFunction)(void*);
    void* pArgument;
    HMODULE hLibrary;
    HANDLE hThread;

    // 32-bit Windows aligns the stack of a new thread to 4 bytes, SSE code wants 16.
    __attribute__((force_align_arg_pointer)) static unsigned __stdcall Body(void* pSystemThread) {
        const auto* const pSelf = static_cast<CSystemThread*>(pSystemThread);  // gone only after a join
        pSelf->pFunction(pSelf->pArgument);
        FreeLibraryAndExitThread(pSelf->hLibrary, 0);
    }
};

// The thread's code may go while it runs where the host frees the library without shutting it down: each thread holds a
// reference of its own, which FreeLibraryAndExitThread gives back with no instruction left to execute here.
bool CThread::Start(void (*pFunction)(void*), void* pArgument) {
    if (m_pThread) return false;
    std::unique_ptr<CSystemThread> pThread(new (std::nothrow) CSystemThread{pFunction, pArgument, nullptr, nullptr});
    if (!pThread || !GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                                        reinterpret_cast<LPCWSTR>(&SetThreadAffinity), &pThread->hLibrary))
        return false;
    pThread->hThread =
        reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, CSystemThread::Body, pThread.get(), 0, nullptr));
    if (!pThread->hThread) {
        FreeLibrary(pThread->hLibrary);
        return false;
    }
    m_pThread = std::move(pThread);
    return true;
}

void CThread::Join() {
    if (!m_pThread) return;
    WaitForSingleObject(m_pThread->hThread, INFINITE);
    CloseHandle(m_pThread->hThread);
    m_pThread.reset();
}

CThread::CThread() = default;
CThread::~CThread() { Join(); }

}  // namespace vxt::platform
