#include "bench/memory_passes.h"

namespace vxt {

void g_LoadCachePasses(uint32_t* pBegin, uint32_t uPasses) {
    for (uint32_t uPass = 0; uPass < uPasses; ++uPass) g_LoadBlocks(pBegin, kCachePassBlocks);
}

void g_LoadRegion(uintptr_t* pBegin, size_t uBlocks) { g_LoadBlocks(pBegin, uBlocks); }

void g_StoreRegion(uintptr_t* pBegin, size_t uBlocks) { g_StoreBlocks<uintptr_t>(pBegin, uBlocks, 0); }

}  // namespace vxt
