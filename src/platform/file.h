// Whole files on disk, by wide paths. Where they live is the machine that runs the library; paths are Windows', with "/" or
// "\" between their parts. All calls block on the disk.
#pragma once

#include <cstddef>
#include <span>

#include "platform/owned_handle.h"

namespace vxt::platform {

void CloseFile(uintptr_t uHandle);
using CFile = COwnedHandle<CloseFile>;

/// Opens an existing file to read it; others may read it meanwhile. None, with kErrorAccessDenied, for what is no file on a
/// disk: a folder, a pipe, a device. Waits for nobody.
CFile OpenFileToRead(const wchar_t* pszPath);

/// Reads on into `Data`. `ruRead` becomes the bytes read; fewer than asked for only at the end of the file.
bool ReadFile(const CFile& rFile, std::span<std::byte> Data, size_t& ruRead);

/// Creates an empty file, or empties the one that is there, to write it; nobody else may open it meanwhile. None where
/// another process has it open, and for what is no file on a disk.
CFile CreateFileToWrite(const wchar_t* pszPath);

/// Writes on and commits to disk: returns when the device has the data. False when not all of it could be written.
bool WriteFile(const CFile& rFile, std::span<const std::byte> Data);

/// `hFile`: the caller's own handle of the file, if it has one. It is closed; nobody gets hold of the file in between.
bool DeleteFile(const wchar_t* pszPath, CFile hFile = {});

/// Gives a file that the caller has written another name in the same folder, in the place of the file of that name, in one
/// step: whenever the process or the machine dies, that name stands for all of the old or all of the new file. The change is
/// on disk when this returns, as far as the file system tells. The handle may be closed, and is so on success. False where
/// another process has either file open to the exclusion of others, and nothing has changed then.
bool ReplaceFile(CFile& rFile, const wchar_t* pszOld, const wchar_t* pszNew);

}  // namespace vxt::platform
