// Sole owner of one operating-system handle.
#pragma once

#include <cstdint>
#include <utility>

namespace vxt::platform {

/// Handles cross the seam as numbers; 0 means none. `Close` is called once for every handle that was taken over.
template <void (*Close)(uintptr_t)> class [[nodiscard]] COwnedHandle {
public:
    COwnedHandle() = default;
    explicit COwnedHandle(uintptr_t uHandle) : m_uHandle(uHandle) {}
    COwnedHandle(COwnedHandle&& rOther) noexcept : m_uHandle(std::exchange(rOther.m_uHandle, 0)) {}
    COwnedHandle& operator=(COwnedHandle&& rOther) noexcept {
        if (this != &rOther) Reset(std::exchange(rOther.m_uHandle, 0));
        return *this;
    }
    ~COwnedHandle() { Reset(); }

    explicit operator bool() const { return m_uHandle != 0; }
    uintptr_t Get() const { return m_uHandle; }
    /// Forgets the handle without closing it.
    uintptr_t Release() { return std::exchange(m_uHandle, 0); }
    void Reset(uintptr_t uHandle = 0) {
        if (const uintptr_t uOld = std::exchange(m_uHandle, uHandle)) Close(uOld);
    }

private:
    uintptr_t m_uHandle = 0;
};

}  // namespace vxt::platform
