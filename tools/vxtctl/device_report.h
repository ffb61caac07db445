// The inventory.
#pragma once

#include "common/document.h"
#include "host_library.h"

namespace vxtctl {

/// Devices that "TYPE" or "TYPE:INDEX" names. Ends the command when the word is unknown or nothing answers to it.
std::vector<CInventoryEntry> g_SelectDevices(const CHostLibrary& rLibrary, const std::string& sSelector);

/// The array "devices".
void g_AddDevices(vxttools::CDocument& rDocument, const std::vector<CInventoryEntry>& rEntries);
/// One row per device; columns that repeat each other stay out.
void g_AddInventoryTable(vxttools::CDocument& rDocument);
/// One block per device with everything about it.
void g_AddDeviceTables(vxttools::CDocument& rDocument);

}  // namespace vxtctl
