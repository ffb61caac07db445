// Memory that runs out as a failed check instead of an exception.
#pragma once

#include <new>

namespace vxt {

/// Runs an action that fills a container. False when there was no memory for it: what the container guarantees holds then.
template <class TAction> [[nodiscard]] bool g_NoThrow(TAction Action) noexcept {
    try {
        Action();
        return true;
    } catch (const std::bad_alloc&) { return false; }
}

}  // namespace vxt
