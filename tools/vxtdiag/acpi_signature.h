// An ACPI table's key as text.
#pragma once

#include "common/text.h"

namespace vxtdiag {

inline std::string g_Signature(uint32_t uKey) {
    const char acKey[] = {static_cast<char>(uKey >> 24), static_cast<char>(uKey >> 16), static_cast<char>(uKey >> 8),
                          static_cast<char>(uKey)};
    return vxttools::g_Printable({acKey, sizeof acKey});
}

}  // namespace vxtdiag
