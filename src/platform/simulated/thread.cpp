#include "platform/thread.h"

#include <pthread.h>

#include <new>

#include "platform/simulated/simulated_system.h"

namespace vxt::platform {

struct CThread::CSystemThread {
    void (*pFunction)(void*);
    void* pArgument;
    pthread_t Thread;

    static void* Body(void* pSystemThread) {
        const auto* const pSelf = static_cast<CSystemThread*>(pSystemThread);
        pSelf->pFunction(pSelf->pArgument);
        return nullptr;
    }
};

bool CThread::Start(void (*pFunction)(void*), void* pArgument) {
    if (m_pThread || simulated::g_GetSystem().Refuses("StartThread")) return false;
    std::unique_ptr<CSystemThread> pThread(new (std::nothrow) CSystemThread{pFunction, pArgument, {}});
    if (!pThread || pthread_create(&pThread->Thread, nullptr, CSystemThread::Body, pThread.get()) != 0) return false;
    m_pThread = std::move(pThread);
    return true;
}

void CThread::Join() {
    if (!m_pThread) return;
    pthread_join(m_pThread->Thread, nullptr);
    m_pThread.reset();
}

CThread::CThread() = default;
CThread::~CThread() { Join(); }

}  // namespace vxt::platform
