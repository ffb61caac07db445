// Loads and stores that really happen, in the order and the width that is written here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

namespace vxt {

inline constexpr size_t kBlockBytes = 64;

/// Once over `uBlocks` blocks, 1 at least, of kBlockBytes each. `Access` gets a pointer to each word as a volatile one.
/// Without more the compilers choose the loop's addressing and place differently, which changes its speed by 8 %: it begins a
/// cache line, and the pointer itself is what moves.
template <class TWord, class TAccess>
[[gnu::always_inline]] inline void g_Pass(TWord* pBegin, size_t uBlocks, TAccess Access) {
    constexpr size_t kWords = kBlockBytes / sizeof(TWord);
    TWord* const pEnd = pBegin + uBlocks * kWords;
    volatile TWord* pWords = pBegin;
    asm volatile(".p2align 6" : "+r"(pWords));
    do {
        [=]<size_t... n>(std::index_sequence<n...>) __attribute__((always_inline)) { (Access(pWords + n), ...); }
        (std::make_index_sequence<kWords>());
        pWords += kWords;
        asm volatile("" : "+r"(pWords));
    } while (pWords != pEnd);
}

template <class TWord> [[gnu::always_inline]] inline void g_LoadBlocks(TWord* pBegin, size_t uBlocks) {
    g_Pass(
        pBegin, uBlocks, [](volatile TWord * pWord) __attribute__((always_inline)) { static_cast<void>(*pWord); });
}

template <class TWord> [[gnu::always_inline]] inline void g_StoreBlocks(TWord* pBegin, size_t uBlocks, TWord Word) {
    g_Pass(
        pBegin, uBlocks, [=](volatile TWord * pWord) __attribute__((always_inline)) { *pWord = Word; });
}

/// First-level cache: 32-bit loads, sixteen a block, 128 blocks a pass, every pass over the same 8 KiB.
inline constexpr size_t kCachePassBlocks = 128;
void g_LoadCachePasses(uint32_t* pBegin, uint32_t uPasses);

/// Main memory: words as wide as a pointer, once over the region.
void g_LoadRegion(uintptr_t* pBegin, size_t uBlocks);
void g_StoreRegion(uintptr_t* pBegin, size_t uBlocks);

/// MB are 1024 * 1024 bytes.
constexpr float g_MegabytesPerSecond(uint64_t ullBytes, double dSeconds) {
    return static_cast<float>(static_cast<double>(ullBytes) / dSeconds / 1024 / 1024);
}

}  // namespace vxt
