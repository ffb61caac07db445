// The cache tester's loop beside the same one in inline assembly, whose code no compiler changes.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <memory>

#include "bench/memory_passes.h"

namespace vxtbench {

/// vxt::g_LoadCachePasses by hand. Registers are named: others make some of the instructions longer.
[[gnu::noinline]] inline void g_LoadByAssembly(uint32_t* pBegin, uint32_t uPasses) {
    uint32_t* const pEnd = pBegin + vxt::kCachePassBlocks * vxt::kBlockBytes / sizeof(uint32_t);
    for (uint32_t uPass = 0; uPass < uPasses; ++uPass) {
        uint32_t* pWords = pBegin;
        uint32_t uWord = 0;
        asm volatile(
            ".p2align 6\n"
            "1: mov (%0), %1\n mov 4(%0), %1\n mov 8(%0), %1\n mov 12(%0), %1\n"
            "mov 16(%0), %1\n mov 20(%0), %1\n mov 24(%0), %1\n mov 28(%0), %1\n"
            "mov 32(%0), %1\n mov 36(%0), %1\n mov 40(%0), %1\n mov 44(%0), %1\n"
            "mov 48(%0), %1\n mov 52(%0), %1\n mov 56(%0), %1\n mov 60(%0), %1\n"
            "add $64, %0\n cmp %2, %0\n jne 1b"
            : "+a"(pWords), "=&c"(uWord)
            : "d"(pEnd)
            : "memory", "cc");
    }
}

/// Prints both bandwidths and their ratio. The two take turns of about a millisecond, each going first every other time, and
/// the best turn of each counts: what else runs on the computer disturbs most turns of both.
inline void g_CompareReadLoops() {
    constexpr int kTurns = 1000;
    constexpr uint32_t kPasses = 0x2000;
    using CLoop = void (*)(uint32_t * pBegin, uint32_t uPasses);
    constexpr CLoop kLoops[] = {vxt::g_LoadCachePasses, g_LoadByAssembly};
    constexpr size_t kPassBytes = vxt::kCachePassBlocks * vxt::kBlockBytes;
    const auto pBuffer = std::make_unique<uint32_t[]>(kPassBytes / sizeof(uint32_t));

    double adBest[] = {1e9, 1e9};
    for (int nTurn = 0; nTurn < 2 * kTurns; ++nTurn) {
        const int nLoop = (nTurn + nTurn / 2) % 2;
        const auto Begin = std::chrono::steady_clock::now();
        kLoops[nLoop](pBuffer.get(), kPasses);
        const std::chrono::duration<double> Seconds = std::chrono::steady_clock::now() - Begin;
        adBest[nLoop] = std::min(adBest[nLoop], Seconds.count());
    }
    const auto Bandwidth = [](double dSeconds) {
        return static_cast<double>(vxt::g_MegabytesPerSecond(uint64_t{kPasses} * kPassBytes, dSeconds));
    };
    std::printf("cache read %.0f MB/s, by assembly %.0f MB/s, ratio %.3f\n", Bandwidth(adBest[0]), Bandwidth(adBest[1]),
                adBest[1] / adBest[0]);
}

}  // namespace vxtbench
