// What is asked of a display driver through its escape.
//
// No driver's own escapes are documented. This is the library's: a driver that wants to be tuned implements it, any other one
// says that it does not know the number, and is never asked anything else. All words are little-endian dwords.
#pragma once

#include <cstdint>

namespace vxt::escape {

inline constexpr int32_t kNumber = 0x47545856;
inline constexpr uint32_t kMark = 0x56585447, kVersion = 1;

enum ERequest : uint32_t { kIdentify = 1, kGetClock = 2, kSetClock = 3 };

/// Begins what goes in and what comes out.
struct CHeader {
    uint32_t uSize;  ///< bytes of the whole block
    uint32_t uMark, uVersion;
    uint32_t uRequest;  ///< comes back as it went in
};

struct CIdentifyAnswer {
    CHeader Header;
    uint32_t uAdapter;                  ///< its number: displays of one adapter answer the same
    uint32_t uIntegrated;               ///< 1: part of the chipset
    uint32_t uLowest, uHighest, uStep;  ///< kHz that the engine takes; all 0: not told
};
struct CGetClockAnswer {
    CHeader Header;
    uint32_t uClock;  ///< kHz
};
struct CSetClockRequest {
    CHeader Header;
    uint32_t uClock;  ///< kHz
};
static_assert(sizeof(CHeader) == 16 && sizeof(CIdentifyAnswer) == 36 && sizeof(CSetClockRequest) == 20);

}  // namespace vxt::escape
