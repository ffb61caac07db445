// A recording as line charts, one for each kind of sensor, of voltages one for each group that lies close together.
#pragma once

#include <functional>

#include "recording.h"

namespace vxtctl {

/// The charts as HTML: a figure each, with the sensors' minimum, maximum and average. `Label` names a sensor by its id.
std::string g_RecordingCharts(const CRecording& rRecording,
                              const std::function<std::string(const std::string&)>& Label);

/// What the charts need in the page's style sheet.
extern const char* const kChartStyle;

}  // namespace vxtctl
