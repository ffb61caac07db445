#include "support/allocations.h"

#include <cstdlib>
#include <new>
#include <utility>

#include "platform/simulated/simulated_system.h"

namespace vxttest {

namespace {

thread_local CAllocationFault* t_pFault = nullptr;

void* g_Allocate(size_t uSize) noexcept {
    if (t_pFault && !vxt::platform::simulated::CSystemSide::Entered() && t_pFault->Refuses()) return nullptr;
    return std::malloc(uSize ? uSize : 1);
}

void* g_AllocateOrThrow(size_t uSize) {
    if (void* const pBlock = g_Allocate(uSize)) return pBlock;
    throw std::bad_alloc();
}

}  // namespace

CAllocationFault::CAllocationFault(uint64_t ullGood, std::function<void()> OnFailure)
    : m_ullGood(ullGood), m_OnFailure(std::move(OnFailure)) {
    t_pFault = this;
}

void CAllocationFault::Stop() { t_pFault = nullptr; }

bool CAllocationFault::Refuses() {
    if (m_ullCounted++ != m_ullGood) return false;
    const vxt::platform::simulated::CSystemSide NotTheLibrary;
    if (m_OnFailure) m_OnFailure();
    return true;
}

}  // namespace vxttest

void* operator new(size_t uSize) { return vxttest::g_AllocateOrThrow(uSize); }
void* operator new[](size_t uSize) { return vxttest::g_AllocateOrThrow(uSize); }
void* operator new(size_t uSize, const std::nothrow_t&) noexcept { return vxttest::g_Allocate(uSize); }
void* operator new[](size_t uSize, const std::nothrow_t&) noexcept { return vxttest::g_Allocate(uSize); }
void operator delete(void* pBlock) noexcept { std::free(pBlock); }
void operator delete[](void* pBlock) noexcept { std::free(pBlock); }
void operator delete(void* pBlock, size_t) noexcept { std::free(pBlock); }
void operator delete[](void* pBlock, size_t) noexcept { std::free(pBlock); }
