// vxtctl device: the devices of one type, one block each.
#include <algorithm>

#include "candidates.h"
#include "common/command.h"
#include "common/text.h"
#include "device_report.h"
#include "device_types.h"

namespace vxtctl {

using namespace vxttools;

namespace {

struct CWanted {
    std::optional<std::string> oSelector;
};
constexpr COption<CWanted> kOptions[] = {
    {"TYPE[/INDEX]", "", "Device type as in the list's first column, and which one of it", &CWanted::oSelector, true,
     nullptr, g_DeviceCandidates},
};

/// "TYPE" or "TYPE:INDEX", or an id, "TYPE/INDEX" or "/TYPE/INDEX".
struct CSelector {
    std::string sText;
    vxtapi::eDeviceType eType;
    std::optional<uint32_t> oIndex = std::nullopt;
};

CSelector g_ParseSelector(const std::string& sText) {
    const size_t uBegin = sText.starts_with('/') ? 1 : 0, uColon = sText.find_first_of(":/", uBegin);
    const std::string sWord = g_Lower(sText.substr(uBegin, uColon - uBegin));
    const auto pType = std::ranges::find(kDeviceTypes, sWord, &CDeviceTypeName::pszWord);
    if (pType == std::end(kDeviceTypes)) {
        std::string sWords;
        std::vector<std::string> Known;
        for (const CDeviceTypeName& rType : kDeviceTypes) {
            sWords += std::string(sWords.empty() ? "" : ", ") + rType.pszWord;
            Known.push_back(rType.pszWord);
        }
        throw CFailure(EExit::kNoSuchDevice,
                       "no device type '" + sWord + "'" + g_DidYouMean(sWord, Known) + "; there are: " + sWords);
    }
    CSelector Selector{sText, pType->eType};
    if (uColon == std::string::npos) return Selector;
    Selector.oIndex = g_ParseUnsigned(std::string_view(sText).substr(uColon + 1));
    if (!Selector.oIndex) throw CFailure(EExit::kUsage, "'" + sText + "': expected TYPE/INDEX with a number for INDEX");
    return Selector;
}

void g_AddDeviceTables(CDocument& rDocument) {
    for (const CJson& rDevice : rDocument["devices"].Items()) {
        CTextTable Table{g_Cell(rDevice["id"]), {"", ""}};
        for (const auto& [sKey, rValue] : rDevice.Members())
            if (sKey != "id") Table.Rows.push_back({"  " + sKey, g_Cell(rValue)});
        rDocument.AddTable(std::move(Table));
    }
}

EExit g_Device(CTool& rTool, const CWanted& rWanted) {
    const CSelector Selector = g_ParseSelector(*rWanted.oSelector);
    const CHostLibrary Library(rTool.Options());
    std::vector<CInventoryEntry> Entries = Library.Devices(Selector.eType);
    std::erase_if(Entries, [&](const CInventoryEntry& rEntry) {
        return Selector.oIndex.value_or(rEntry.uIndex) != rEntry.uIndex;
    });
    if (Entries.empty()) throw Library.Absent("device '" + Selector.sText + "'");
    CDocument Document = rTool.NewDocument();
    Document.SetCsv("devices");
    g_AddDevices(Document, Entries);
    g_AddDeviceTables(Document);
    return Library.Emit(rTool, Document);
}

}  // namespace

extern constexpr CCommand kDevice{"device", "Show the devices of one type",
                                  "  vxtctl device board\n  vxtctl device cpu/1",
                                  g_NewCall<CWanted, kOptions, g_Device>};

}  // namespace vxtctl
