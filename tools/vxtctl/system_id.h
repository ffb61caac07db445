// Ids of the system's device tree, "USB\VID_0781&PID_5567\4C530001": bus, kind, specimen.
#pragma once

#include <string>

#include "common/text.h"

namespace vxtctl {

/// As UTF-8. The last part may be a serial number; without those it is left out.
inline std::string g_SystemId(const wchar_t* pszId, bool bSerials) {
    const std::string sId = vxttools::g_Utf8(pszId);
    const size_t uLast = bSerials ? sId.npos : sId.rfind('\\');
    return uLast == sId.npos ? sId : sId.substr(0, uLast);
}

}  // namespace vxtctl
