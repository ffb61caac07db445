// Append-only file whose every flush reaches the disk. Paths are in the system's 8-bit code page, relative to the current
// folder. All calls block on the disk.
#pragma once

#include <cstddef>

#include "platform/owned_handle.h"

namespace vxt::platform {

void CloseCommittedFile(uintptr_t uHandle);
using CCommittedFile = COwnedHandle<CloseCommittedFile>;

/// Creates the directory; false when it cannot be created, also because it exists.
bool CreateDirectory(const char* pszPath);

/// Opens for writing at the end, wherever others write to; creates it when it is not there. None when that fails.
CCommittedFile OpenCommittedFile(const char* pszPath);

/// Writes behind what was written before and commits to disk: returns when the device has the data. Returns the bytes
/// written, fewer than `uSize` when the disk is full, 0 on failure. One thread at a time on one file.
size_t WriteCommitted(const CCommittedFile& rFile, const char* pData, size_t uSize);

}  // namespace vxt::platform
