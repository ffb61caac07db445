// The machine's sensors as rows: processors, south bridge, Super I/O chip.
#pragma once

#include <functional>
#include <optional>

#include "common/quantity.h"
#include "host_library.h"

namespace vxtctl {

enum class ESensor { kTemperature, kFan, kDuty, kVoltage };

/// "temperature", as in ids.
const char* g_KindWord(ESensor eKind);
/// "Temperature", and "°C"
const char* g_KindLabel(ESensor eKind);
const char* g_KindUnit(ESensor eKind);
/// What kind of sensor has such an id, "/south-bridge/0/fan/1"; nothing: none has.
std::optional<ESensor> g_KindOfId(std::string_view sId);

/// One sensor, which can be read again and again as long as the library runs.
struct CSensor {
    std::string sId;          ///< stable path, "/south-bridge/0/temperature/1"
    std::string sDevicePath;  ///< "/south-bridge/0"
    std::string sDevice;      ///< whose it is, for people: the chip's name
    std::string sLabel;       ///< "Temperature 1"
    ESensor eKind;
    std::string sUnit;                  ///< "°C", "RPM", "%", "V"
    vxttools::CPlausible Plausible;     ///< what a reading can be
    vxttools::CLimits Limits = {};      ///< of a good reading, where the chip tells them
    const char* pszNone;                ///< why there may be no reading though nothing went wrong; null: there is one
    std::function<double()> Read;       ///< raw, in the unit; may be an in-band failure
    std::optional<uint32_t> oFan = {};  ///< of a fan or a duty: which fan of its device
};

/// All sensors of the machine, in the order in which they are shown. Reads the limits once.
std::vector<CSensor> g_FindSensors(const CHostLibrary& rLibrary);

/// Reads it now. Never an in-band failure, an infinity or a reading that cannot be: those are null with the reason.
vxttools::CQuantity g_ReadSensor(const CSensor& rSensor);

}  // namespace vxtctl
