// Ids of the system's device tree, "USB\VID_0781&PID_5567\4C530001": bus, kind, specimen.
#pragma once

#include <string>

namespace vxtctl {

/// As UTF-8. The last part may be a serial number, and radio devices have their address amid the others: without serial
/// numbers the one is left out, and "(address)" stands for the other.
std::string g_SystemId(const wchar_t* pszId, bool bSerials);

}  // namespace vxtctl
