// Append-only file whose every flush reaches the disk.
#pragma once

#include <cstddef>

#include "platform/owned_handle.h"

namespace vxt::platform {

void CloseCommittedFile(uintptr_t uHandle);
using CCommittedFile = COwnedHandle<CloseCommittedFile>;

/// Creates the directory; false when it cannot be created, also because it exists.
bool CreateDirectory(const char* pszPath);

/// Creates or truncates; none when it cannot be opened.
CCommittedFile CreateCommittedFile(const char* pszPath);

/// Writes and commits to disk. Returns the bytes written.
size_t WriteCommitted(const CCommittedFile& rFile, const char* pData, size_t uSize);

}  // namespace vxt::platform
