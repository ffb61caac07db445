// Values that the compiler knows nothing of: what is computed from them is computed when the program runs.
#pragma once

#include <type_traits>

namespace vxt {

/// The same value. Numbers with a fraction go through memory, because their registers differ between processors.
template <class TValue> [[gnu::always_inline]] inline TValue g_Opaque(TValue Value) {
    if constexpr (std::is_floating_point_v<TValue>)
        asm volatile("" : "+m"(Value));
    else
        asm volatile("" : "+r"(Value));
    return Value;
}

}  // namespace vxt
