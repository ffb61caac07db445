// A recording of sensors: what `sensors --record` and `sensors --watch --csv` write.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "sensors.h"

namespace vxtctl {

struct CRecordedSensor {
    std::string sId;
    ESensor eKind;
    std::vector<double> Values = {};  ///< one a line; no number where there was no reading
};

struct CRecording {
    std::string sName;            ///< the file's, without its folder
    std::vector<double> Seconds;  ///< one a line, ascending, from 0
    std::chrono::system_clock::time_point Begin;
    std::vector<CRecordedSensor> Sensors;
    bool bTorn = false;  ///< its last line is incomplete, and left out
};

/// Ends the command when the file is no such recording: with its name, the line and the column.
CRecording g_ReadRecording(const std::string& sFile);

}  // namespace vxtctl
