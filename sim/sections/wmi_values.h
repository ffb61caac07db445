// VALUE of a machine file: one value of management data.
#pragma once

#include "reader.h"

namespace vxtsim {

/// Nothing in `roValue` stands for a missing property, where `bMayMiss` allows it.
bool g_ReadWmiValue(CMachineReader& rReader, std::string_view sText, std::optional<CWmiValue>& roValue, bool bMayMiss);
std::string g_WmiValueText(const std::optional<CWmiValue>& roValue);
/// Every form, as the reader knows it: "number:", "null" and so on.
std::vector<std::string> g_WmiValueForms();

}  // namespace vxtsim
