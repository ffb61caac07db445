// Wide text of this system (UTF-32) and UTF-8.
#pragma once

#include <string>
#include <string_view>

namespace vxt::platform::simulated {

/// What is no character becomes U+FFFD.
std::string Utf8Text(std::wstring_view sText);
/// Of valid UTF-8.
std::wstring WideText(std::string_view sUtf8);

}  // namespace vxt::platform::simulated
