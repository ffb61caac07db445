// Which processor family a core is of, as far as hosts can tell it from the SDK's identification.
#pragma once

#include <vxtapi/cpu.h>

namespace vxtctl {

enum class EFamily : uint32_t { kFirstK8 = 1, kRevisionF = 2, kFamily10h = 4, kFamily11h = 8 };

/// Several of them: those that have something.
using CFamilies = uint32_t;
inline constexpr CFamilies kK8 = 1 | 2, kOnly10h = 4, kWithPstates = 4 | 8, kAllFamilies = kK8 | kWithPstates;

inline EFamily g_Family(vxtapi::CCPU& rCpu) {
    if (rCpu.GetExtendedFamily() == 1) return EFamily::kFamily10h;
    if (rCpu.GetExtendedFamily() == 2) return EFamily::kFamily11h;
    return rCpu.GetExtendedModel() <= 2 ? EFamily::kFirstK8 : EFamily::kRevisionF;
}
inline bool g_IsOneOf(EFamily eFamily, CFamilies Families) { return (static_cast<CFamilies>(eFamily) & Families) != 0; }

}  // namespace vxtctl
