// DeviceList.cfg: the user's choice of device types.
#pragma once

#include <list>
#include <string>

namespace vxt {

/// Reads a text file as lines the way a limited line reader does: at most 63 characters each, a longer line goes on as the
/// next one, the line break (always "\n") stays part of its line. 8-bit text in the system's code page, or UTF-8 or
/// UTF-16 with a byte order mark. False when the file cannot be opened or is larger than any list could be.
bool g_ReadDeviceListFile(const char* pszPath, std::list<std::wstring>& rLines);
/// The lines of such a file's bytes.
void g_DecodeDeviceList(std::string_view sBytes, std::list<std::wstring>& rLines);

/// Whether `sText` begins with all of `sPrefix`, upper and lower case alike.
bool g_BeginsWith(std::wstring_view sText, std::wstring_view sPrefix);

}  // namespace vxt
