// vxtdiag acpi: the firmware's ACPI tables, or one of them and its bytes.
#include <algorithm>
#include <cstring>
#include <span>

#include "acpi_signature.h"
#include "candidates.h"
#include "common/command.h"
#include "driver_session.h"
#include "firmware/acpi_table.h"

namespace vxtdiag {

using namespace vxttools;

namespace {

struct CWanted {
    std::optional<std::string> oSignature;
};
constexpr COption<CWanted> kOptions[] = {
    {"SIGNATURE", "", "Table to dump", &CWanted::oSignature, false, nullptr, g_AcpiCandidates},
};

/// The header that every table begins with (ACPI 3.0, 5.2.6).
struct CField {
    size_t uOffset, uSize;
};
constexpr CField kRevision{8, 1}, kOemId{10, 6}, kOemTableId{16, 8}, kOemRevision{24, 4};

uint32_t g_Number(std::span<const uint8_t> Table, CField Field) {
    uint32_t uValue = 0;
    for (size_t i = Field.uSize; i-- > 0;)
        if (Field.uOffset + i < Table.size()) uValue = uValue << 8 | Table[Field.uOffset + i];
    return uValue;
}

std::string g_Text(std::span<const uint8_t> Table, CField Field) {
    if (Field.uOffset + Field.uSize > Table.size()) return "";
    return vxttools::g_Printable({reinterpret_cast<const char*>(Table.data()) + Field.uOffset, Field.uSize});
}

EExit g_Acpi(CTool& rTool, const CWanted& rWanted) {
    std::optional<std::string> oWanted = rWanted.oSignature;
    if (oWanted)
        std::ranges::transform(*oWanted, oWanted->begin(),
                               [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    const CLibrarySession Library(rTool.Options());
    const CDriverSession Driver(Library);
    CDocument Document = rTool.NewDocument();
    Document.SetCsv("tables");
    CJson& rTables = Document["tables"] = CJson::Array();
    CTextTable Table{"", {"Table", ">Length", ">Revision", "OEM ID", "OEM table", ">OEM revision"}};
    for (const auto& [uKey, rTable] : vxt::g_GetACPITable().GetTables()) {
        const std::string sKey = g_Signature(uKey);
        if (oWanted && sKey != oWanted) continue;
        const std::span<const uint8_t> Data(rTable.pData.get(), rTable.uSize);
        const CJson& rRow = rTables.Push({{"id", "/acpi/" + sKey},
                                          {"signature", sKey},
                                          {"length", rTable.uSize},
                                          {"revision", g_Number(Data, kRevision)},
                                          {"oem_id", g_Text(Data, kOemId)},
                                          {"oem_table_id", g_Text(Data, kOemTableId)},
                                          {"oem_revision", g_Number(Data, kOemRevision)},
                                          {"data", !oWanted ? nullptr : CJson(g_HexString(Data))}});
        if (oWanted) Document.SetText(g_HexDump(Data));
        Table.Rows.push_back({sKey, std::to_string(rTable.uSize), g_Cell(rRow["revision"]), g_Cell(rRow["oem_id"]),
                              g_Cell(rRow["oem_table_id"]), "0x" + g_Hex(g_Number(Data, kOemRevision), 8)});
    }
    if (oWanted && rTables.Items().empty())
        throw CFailure(EExit::kNoSuchDevice, "this machine has no ACPI table '" + *rWanted.oSignature + "'");
    if (!oWanted) Document.AddTable(std::move(Table));
    return rTool.Emit(Document);
}

}  // namespace

extern constexpr CCommand kAcpi{"acpi", "List the ACPI tables, or dump one",
                                "  vxtdiag acpi\n  vxtdiag acpi MCFG --json", g_NewCall<CWanted, kOptions, g_Acpi>};

}  // namespace vxtdiag
