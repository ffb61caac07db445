// The registry.
#pragma once

#include <span>

#include "platform/owned_handle.h"

namespace vxt::platform {

void CloseRegistryKey(uintptr_t uHandle);
using CRegistryKey = COwnedHandle<CloseRegistryKey>;

/// Opens a key below the current user's hive; none when it is absent.
CRegistryKey OpenUserKey(const wchar_t* pszPath);

/// Reads a value of any type into `Data`. Untouched (and false) when the value is absent or longer than `Data`; a
/// shorter value fills the first bytes only.
bool QueryRegistryValue(const CRegistryKey& rKey, const wchar_t* pszValue, std::span<std::byte> Data);

}  // namespace vxt::platform
