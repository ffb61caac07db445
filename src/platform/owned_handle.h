// Sole owner of one operating-system handle; and what holds for every call of the seam unless its header says otherwise:
//
// - It is one call of the system (or the fixed few that the header names): logged and retried by nobody here. It returns at
//   once; where it waits for the disk, another process or the service manager the header says that it blocks.
// - Any thread may call it, several at a time. A handle is not closed on one thread while another one uses it.
// - It does not throw. Failure is an empty handle, false or 0; results are untouched then. The reason is LastError(), with
//   the codes of error_code.h as far as the header names them and the system's own otherwise.
// - Texts are zero-terminated and, like all pointers and spans, borrowed for the call only. What a call hands out belongs
//   to the caller. An empty handle is refused like a closed one.
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
