// The firmware's tunable objects.
#pragma once

#include "common/findings.h"
#include "firmware/bios_handler.h"
#include "firmware_session.h"

namespace vxtdiag {

using vxttools::CFindings;

/// One tunable object with everything that can be asked about it, in the firmware's own units.
struct CFirmwareObject {
    vxt::CFunctionRecord Record;
    std::optional<int32_t> oValue = std::nullopt;
    std::optional<int32_t> oStatus = std::nullopt;  ///< of reading the value; nothing: no answer
    std::optional<std::vector<int32_t>> oValues = std::nullopt;
    std::optional<std::vector<uint32_t>> oInfo = std::nullopt;
};

/// All objects in the firmware's order. What cannot be had is added to the findings.
std::vector<CFirmwareObject> g_ReadFirmwareObjects(const CFirmwareSession& rSession, CFindings& rFindings);

/// Why there is no value.
std::string g_Reason(const CFirmwareObject& rObject);

}  // namespace vxtdiag
