#include "allocations.h"

#include <ole2.h>
#include <windows.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <optional>

namespace {

std::atomic<int32_t> g_nLive{0};
thread_local std::optional<uint32_t> g_oGood;  // none: no limit

bool g_MayAllocate() {
    if (!g_oGood) return true;
    if (*g_oGood == 0) return false;
    --*g_oGood;
    return true;
}

class CSpy final : public IMallocSpy {
public:
    STDMETHODIMP QueryInterface(REFIID rId, void** ppObject) override {
        const bool bKnown = rId == IID_IUnknown || rId == IID_IMallocSpy;
        *ppObject = bKnown ? this : nullptr;
        return bKnown ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }  // lives as long as the program
    STDMETHODIMP_(ULONG) Release() override { return 1; }

    STDMETHODIMP_(SIZE_T) PreAlloc(SIZE_T uSize) override {
        return g_MayAllocate() ? (uSize ? uSize : 1) : 0;  // 0 makes it fail
    }
    STDMETHODIMP_(void*) PostAlloc(void* pActual) override {
        g_nLive += pActual != nullptr;
        return pActual;
    }
    STDMETHODIMP_(void*) PreFree(void* pRequest, BOOL bSpied) override {
        g_nLive -= bSpied && pRequest;
        return pRequest;
    }
    STDMETHODIMP_(void) PostFree(BOOL) override {}
    STDMETHODIMP_(SIZE_T) PreRealloc(void* pRequest, SIZE_T uSize, void** ppNewRequest, BOOL) override {
        *ppNewRequest = pRequest;
        return uSize;
    }
    STDMETHODIMP_(void*) PostRealloc(void* pActual, BOOL) override { return pActual; }
    STDMETHODIMP_(void*) PreGetSize(void* pRequest, BOOL) override { return pRequest; }
    STDMETHODIMP_(SIZE_T) PostGetSize(SIZE_T uActual, BOOL) override { return uActual; }
    STDMETHODIMP_(void*) PreDidAlloc(void* pRequest, BOOL) override { return pRequest; }
    STDMETHODIMP_(int) PostDidAlloc(void*, BOOL, int nActual) override { return nActual; }
    STDMETHODIMP_(void) PreHeapMinimize() override {}
    STDMETHODIMP_(void) PostHeapMinimize() override {}
};

}  // namespace

void* operator new(size_t uSize) {
    void* const pBlock = g_MayAllocate() ? std::malloc(uSize ? uSize : 1) : nullptr;
    if (!pBlock) throw std::bad_alloc();
    ++g_nLive;
    return pBlock;
}
void operator delete(void* pBlock) noexcept {
    g_nLive -= pBlock != nullptr;
    std::free(pBlock);
}
void operator delete(void* pBlock, size_t) noexcept { operator delete(pBlock); }

void g_WatchAllocations() {
    static CSpy s_Spy;
    // Kept texts would hide what is not freed.
    using SetOaNoCache = void WINAPI();
    const FARPROC pNoCache = GetProcAddress(GetModuleHandleW(L"oleaut32.dll"), "SetOaNoCache");
    if (pNoCache) reinterpret_cast<SetOaNoCache*>(reinterpret_cast<void*>(pNoCache))();
    if (!pNoCache || FAILED(CoRegisterMallocSpy(&s_Spy))) std::abort();
}

int32_t g_LiveAllocations() { return g_nLive; }

CFailingAllocations::CFailingAllocations(uint32_t uGood) { g_oGood = uGood; }
CFailingAllocations::~CFailingAllocations() { g_oGood.reset(); }
