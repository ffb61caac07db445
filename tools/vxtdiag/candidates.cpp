#include "candidates.h"

#include <algorithm>

#include "acpi_signature.h"
#include "driver_session.h"
#include "firmware/acpi_table.h"
#include "firmware_objects.h"
#include "firmware_session.h"
#include "pci_class_names.h"
#include "pci_functions.h"
#include "platform/system.h"
#include "setup_items.h"

namespace vxtdiag {

using vxttools::CCandidate;
using vxttools::CTool;
using vxttools::g_Lower;
using CCandidates = std::vector<CCandidate>;

namespace {

/// One of these texts in any letter case, and no number.
bool g_TellsApart(const std::string& sText, const std::vector<std::string>& rAll) {
    return !sText.empty() && !vxttools::g_ParseUnsigned(sText) &&
           std::ranges::count_if(rAll, [&](const std::string& s) { return g_Lower(s) == g_Lower(sText); }) == 1;
}

void g_AddOptions(CCandidates& rCandidates, const CSetupItem& rItem, const std::string& sBegin) {
    for (size_t i = 0; i < rItem.Options.size(); ++i) {
        const bool bText = g_TellsApart(rItem.Options[i], rItem.Options);
        rCandidates.push_back(
            {sBegin + (bText ? rItem.Options[i] : std::to_string(i)), rItem.oValue == i ? "now" : rItem.Options[i]});
    }
}

}  // namespace

CCandidates g_PciCandidates(const CTool& rTool, const std::string&) {
    const CLibrarySession Library(rTool.Options());
    const CDriverSession Driver(Library);
    CCandidates Candidates;
    for (const vxt::protocol::CPciRecord& rRecord : g_PciFunctions())
        Candidates.push_back({g_PciAddress(rRecord), g_PciClassName(rRecord.ucClass, rRecord.ucSubclass)});
    return Candidates;
}

CCandidates g_AcpiCandidates(const CTool& rTool, const std::string&) {
    const CLibrarySession Library(rTool.Options());
    const CDriverSession Driver(Library);
    CCandidates Candidates;
    for (const auto& [uKey, rTable] : vxt::g_GetACPITable().GetTables())
        Candidates.push_back({g_Signature(uKey), std::to_string(rTable.uSize) + " bytes"});
    return Candidates;
}

CCandidates g_CoreCandidates(const CTool& rTool, const std::string&) {
    const CLibrarySession Library(rTool.Options());
    const CDriverSession Driver(Library);
    CCandidates Candidates;
    for (uint32_t i = 0; i < vxt::platform::ProcessorCount(); ++i) Candidates.push_back({std::to_string(i), "core"});
    return Candidates;
}

CCandidates g_ObjectCandidates(const CTool& rTool, const std::string&) {
    const CLibrarySession Library(rTool.Options());
    const CFirmwareSession Firmware;
    Firmware.Require(Library);
    CFindings Findings;
    CCandidates Candidates;
    for (const CFirmwareObject& rObject : g_ReadFirmwareObjects(Firmware, Findings))
        Candidates.push_back({vxttools::g_Hex(rObject.Record.uID, 8), vxttools::g_Utf8(rObject.Record.szID.data())});
    return Candidates;
}

CCandidates g_SetupCandidates(const CTool& rTool, const std::string& sBegun) {
    const CLibrarySession Library(rTool.Options());
    const CFirmwareSession Firmware;
    Firmware.Require(Library);
    CFindings Findings;
    const std::vector<CSetupItem> Items = g_ReadSetupItems(Findings);
    std::vector<std::string> Names;
    for (const CSetupItem& rItem : Items) Names.push_back(rItem.sName);
    CCandidates Candidates;
    for (const CSetupItem& rItem : Items) {
        const bool bName = g_TellsApart(rItem.sName, Names) && rItem.sName.find('=') == std::string::npos;
        for (const std::string& rsItem : {rItem.sName, std::to_string(rItem.uNumber)}) {
            const std::string sBegin = rsItem + "=";
            if (rsItem == rItem.sName && !bName) continue;
            if (g_Lower(sBegun).starts_with(g_Lower(sBegin)))
                g_AddOptions(Candidates, rItem, sBegin);
            else if ((rsItem == rItem.sName) == bName)  // numbers only of items that need them
                Candidates.push_back({sBegin, rItem.sName});
        }
    }
    return Candidates;
}

}  // namespace vxtdiag
