// The inventory.
#pragma once

#include "common/document.h"
#include "host_library.h"

namespace vxtctl {

/// "TYPE" or "TYPE:INDEX" of a command line.
struct CDeviceSelector {
    explicit CDeviceSelector(const std::string& sText);  ///< ends the command when that names no type or index

    std::string m_sText;
    vxtapi::eDeviceType m_eType;
    std::optional<uint32_t> m_oIndex;
};

/// The devices it names; ends the command when the machine has none.
std::vector<CInventoryEntry> g_SelectDevices(const CHostLibrary& rLibrary, const CDeviceSelector& rSelector);

/// The array "devices".
void g_AddDevices(vxttools::CDocument& rDocument, const std::vector<CInventoryEntry>& rEntries);
/// One row per device; columns that repeat each other stay out.
void g_AddInventoryTable(vxttools::CDocument& rDocument);
/// One block per device with everything about it.
void g_AddDeviceTables(vxttools::CDocument& rDocument);

}  // namespace vxtctl
