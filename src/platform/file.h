// Whole files on disk, by wide paths. Where they live is the machine that runs the library; paths are Windows', with "/" or
// "\" between their parts. All calls block on the disk.
#pragma once

#include <cstddef>
#include <span>

#include "platform/owned_handle.h"

namespace vxt::platform {

void CloseFile(uintptr_t uHandle);
using CFile = COwnedHandle<CloseFile>;

/// Opens an existing file to read it; others may read it meanwhile. None also for a folder.
CFile OpenFileToRead(const wchar_t* pszPath);

/// Reads on into `Data`. `ruRead` becomes the bytes read; fewer than asked for only at the end of the file.
bool ReadFile(const CFile& rFile, std::span<std::byte> Data, size_t& ruRead);

/// Creates an empty file, or empties the one that is there, to write it; nobody else may open it meanwhile. None where
/// another process has it open.
CFile CreateFileToWrite(const wchar_t* pszPath);

/// Writes on and commits to disk: returns when the device has the data. False when not all of it could be written.
bool WriteFile(const CFile& rFile, std::span<const std::byte> Data);

bool DeleteFile(const wchar_t* pszPath);

/// Gives the file another name in the same folder, in the place of whatever has that name, in one step: whenever the
/// process or the machine dies, that name stands for all of the old or all of the new file. The change is on disk when
/// this returns, as far as the file system tells.
bool ReplaceFile(const wchar_t* pszOld, const wchar_t* pszNew);

}  // namespace vxt::platform
