// A search for the highest clock as a picture.
#pragma once

#include <string>

#include "tune_records.h"

namespace vxtctl {

/// Clock over test time as an SVG that needs nothing else: every tested clock with its result, and how the search ended
/// (`sMessage`). There has to be a point.
std::string g_TuneChart(const CTuneRecord& rRecord, const std::string& sMessage);

/// Ends the command when the picture could not be written there: what is in a file's place and is no SVG stays.
void g_CheckChartFile(const std::string& sFile);

}  // namespace vxtctl
