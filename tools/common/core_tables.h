// Tables about cores: what several of them share is told once.
#pragma once

#include "common/document.h"

namespace vxttools {

using CCells = std::vector<std::vector<std::string>>;

/// The rows of each core, equal ones once: ("0-2,5", rows).
std::vector<std::pair<std::string, CCells>> g_ShareRows(const CJson& rCores, CCells (*pRows)(const CJson& rCore));

/// The core's number from "1", "cpu/1" or "/cpu/1". Ends the command when the argument called `sName` is none of them.
uint32_t g_ParseCore(const std::string& sText, const std::string& sName);

/// "core 1", "cores 0-3"
std::string g_CoreTitle(const std::string& sCores);

}  // namespace vxttools
