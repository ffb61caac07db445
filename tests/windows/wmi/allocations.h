// Everything that the code under test allocates: by C++ and by COM, whose texts, arrays and task memory are spied on.
#pragma once

#include <cstdint>

/// Begins to watch; once, before COM is used.
void g_WatchAllocations();

/// Blocks that nobody has freed yet.
int32_t g_LiveAllocations();

/// Lets so many allocations succeed and the others of this thread fail, until this object goes.
class CFailingAllocations {
public:
    explicit CFailingAllocations(uint32_t uGood);
    ~CFailingAllocations();
    CFailingAllocations(const CFailingAllocations&) = delete;
};
