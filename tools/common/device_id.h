// Ids as arguments: what the tools print of a device can be given back to them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "common/text.h"

namespace vxttools {

/// "/cpu/0" and "cpu/0" below the path "cpu" are "0"; other texts stay.
constexpr std::string_view g_WithoutPath(std::string_view sText, std::string_view sPath) {
    std::string_view sRest = sText;
    if (sRest.starts_with('/')) sRest.remove_prefix(1);
    if (!sRest.starts_with(sPath) || !sRest.substr(sPath.size()).starts_with('/')) return sText;
    return sRest.substr(sPath.size() + 1);
}
static_assert(g_WithoutPath("/cpu/0", "cpu") == "0" && g_WithoutPath("cpu/0", "cpu") == "0" &&
              g_WithoutPath("0", "cpu") == "0" && g_WithoutPath("/cpux/0", "cpu") == "/cpux/0");

/// The number behind the path, or alone; nothing when that is none.
inline std::optional<uint32_t> g_ParseIndex(std::string_view sText, std::string_view sPath) {
    return g_ParseUnsigned(g_WithoutPath(sText, sPath));
}

}  // namespace vxttools
