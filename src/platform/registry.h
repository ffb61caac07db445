// The registry, as far as the library needs it. Reasons of failures are not told.
#pragma once

#include <span>

#include "platform/owned_handle.h"

namespace vxt::platform {

void CloseRegistryKey(uintptr_t uHandle);
using CRegistryKey = COwnedHandle<CloseRegistryKey>;

/// Opens a key below the current user's, and below the machine's hive to read its values; none when it is absent or refused.
CRegistryKey OpenUserKey(const wchar_t* pszPath);
CRegistryKey OpenMachineKey(const wchar_t* pszPath);
/// Opens a key below the current user's to change its values; none when it is absent or refused.
CRegistryKey OpenUserKeyToWrite(const wchar_t* pszPath);
/// The same, and makes it where it is absent.
CRegistryKey CreateUserKey(const wchar_t* pszPath);

/// Reads a value of any type into `Data`. Untouched (and false) when the value is absent or longer than `Data`, or memory
/// runs out; a shorter value fills the first bytes only. Texts come as they are stored, two bytes a character.
bool QueryRegistryValue(const CRegistryKey& rKey, const wchar_t* pszValue, std::span<std::byte> Data);

/// Writes a text, with its terminating zero, as the value (REG_SZ), whatever was there. False: nothing is written.
bool SetRegistryText(const CRegistryKey& rKey, const wchar_t* pszValue, const wchar_t* pszText);
/// False also when there is no such value.
bool DeleteRegistryValue(const CRegistryKey& rKey, const wchar_t* pszValue);

}  // namespace vxt::platform
