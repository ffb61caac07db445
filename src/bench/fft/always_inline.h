// For code that is compiled once per path: a copy of its own that the linker kept would run on the wrong processor.
#pragma once

#define VXT_ALWAYS_INLINE [[gnu::always_inline]] inline
