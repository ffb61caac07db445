// The manual page, read off the commands' rows.
#pragma once

#include "common/command_table.h"

namespace vxttools {

/// Section 1, man macros.
std::string g_ManPage(const CCommandTable& rTable);

}  // namespace vxttools
