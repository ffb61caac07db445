// The inventory.
#pragma once

#include "common/document.h"
#include "host_library.h"

namespace vxtctl {

/// The array "devices".
void g_AddDevices(vxttools::CDocument& rDocument, const std::vector<CInventoryEntry>& rEntries);
/// One row per device; columns that repeat each other stay out.
void g_AddInventoryTable(vxttools::CDocument& rDocument);

}  // namespace vxtctl
