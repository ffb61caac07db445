// Conversion between the system's 8-bit code page and wide text.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace vxt::platform {

/// Converts all of `sText`, zero bytes included. Returns the number of wide characters written; 0 for no text and when they
/// do not fit (`Wide` is undefined then). No terminator is added.
size_t WidenText(std::string_view sText, std::span<wchar_t> Wide);

/// Converts to the 8-bit code page; characters it lacks become '?'. Throws std::bad_alloc.
std::string NarrowText(std::wstring_view sText);

}  // namespace vxt::platform
