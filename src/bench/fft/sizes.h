// The sizes of numbers that are squared, from the first-level cache to main memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace vxt::fft {

/// Numbers of `uWords` words of `uBits` bits: modulo 2^(uWords * uBits) + 1.
struct CSize {
    uint32_t uWords;
    uint32_t uBits;
    uint32_t uSteps;  ///< of one pass: about a tenth of a second on a current processor
};

/// The smallest first. 16 bits a word leave room for round-off up to 2^20 words, 15 beyond.
inline constexpr CSize kSizes[] = {
    {1 << 11, 16, 16384}, {1 << 12, 16, 8192}, {1 << 13, 16, 4096}, {1 << 14, 16, 2048}, {1 << 15, 16, 1024},
    {1 << 16, 16, 512},   {1 << 17, 16, 256},  {1 << 18, 16, 128},  {1 << 19, 16, 32},   {1 << 20, 16, 16},
    {1 << 21, 15, 8},     {1 << 22, 15, 4},    {1 << 23, 15, 2},
};

/// The row of a size; null for a number of words that there is none for.
constexpr const CSize* g_FindSize(uint32_t uWords) {
    for (const CSize& rSize : kSizes)
        if (rSize.uWords == uWords) return &rSize;
    return nullptr;
}

}  // namespace vxt::fft
