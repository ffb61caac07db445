// The sensors over time: on a live screen, as lines, into a file.
#pragma once

#include "common/command.h"
#include "sensor_samples.h"

namespace vxtctl {

struct CWatching {
    bool bWatch;                         ///< shows each sample
    std::optional<std::string> oRecord;  ///< adds each sample to this file
    std::chrono::milliseconds Interval;  ///< between the beginnings of two samples
    std::optional<uint32_t> oCount;      ///< samples; nothing: until the user asks to end
};

/// Takes samples until there are enough, or the user asks to end, and tells what they were altogether. Returns how the
/// command ends.
vxttools::EExit g_WatchSensors(vxttools::CTool& rTool, const CHostLibrary& rLibrary, CSensorSamples& rSamples,
                               const CWatching& rWatching);

}  // namespace vxtctl
