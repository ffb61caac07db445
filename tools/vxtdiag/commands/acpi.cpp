// vxtdiag acpi: the firmware's ACPI tables, or one of them and its bytes.
#include <algorithm>
#include <cstring>
#include <span>

#include "acpi_signature.h"
#include "candidates.h"
#include "common/command.h"
#include "common/device_id.h"
#include "driver_session.h"
#include "firmware/acpi_table.h"
#include "hw/driver_handler.h"

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

/// Tables that the root tables point to and that were not kept: unreadable, cut or with a wrong sum.
void g_FindMissing(CFindings& rFindings) {
    constexpr size_t kHeaderBytes = 36;
    constexpr std::pair<uint32_t, size_t> kRoots[] = {{0x52534454, 4}, {0x58534454, 8}};  // RSDT, XSDT: bytes an entry
    const auto& rTables = vxt::g_GetACPITable().GetTables();
    if (rTables.empty()) rFindings.push_back("no ACPI table could be read");
    for (const auto& [uRoot, uEntryBytes] : kRoots) {
        const auto it = rTables.find(uRoot);
        if (it == rTables.end()) continue;
        const uint8_t* const pRoot = it->second.pData.get();
        for (size_t i = kHeaderBytes; i + uEntryBytes <= it->second.uSize; i += uEntryBytes) {
            uint64_t ullAddress = 0;
            std::memcpy(&ullAddress, pRoot + i, uEntryBytes);
            uint8_t aucKey[4];
            if (ullAddress == 0) continue;
            const bool bRead = vxt::g_GetDriverHandler().ReadMemory(ullAddress, sizeof aucKey, aucKey);
            const uint32_t uKey = static_cast<uint32_t>(aucKey[0] << 24 | aucKey[1] << 16 | aucKey[2] << 8 | aucKey[3]);
            if (!bRead)
                rFindings.push_back("the ACPI table at " + g_Hex(ullAddress, 8) + " could not be read");
            else if (!rTables.contains(uKey))
                rFindings.push_back("ACPI table " + g_Signature(uKey) + " at " + g_Hex(ullAddress, 8) +
                                    " was not intact");
        }
    }
}

EExit g_Acpi(CTool& rTool, const CWanted& rWanted) {
    std::optional<std::string> oWanted;
    if (rWanted.oSignature) oWanted = g_WithoutPath(*rWanted.oSignature, "acpi");
    if (oWanted)
        std::ranges::transform(*oWanted, oWanted->begin(),
                               [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    const CLibrarySession Library(rTool.Options());
    const CDriverSession Driver(Library);
    CDocument Document = rTool.NewDocument();
    Document.SetCsv("tables");
    CJson& rTables = Document["tables"] = CJson::Array();
    CTextTable Table{"", {"Table", ">Length", "~>Revision", "OEM ID", "OEM table", "~>OEM revision"}};
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
    CFindings Findings = Driver.Findings();
    if (rTables.Items().empty() || !oWanted) g_FindMissing(Findings);
    if (oWanted && rTables.Items().empty() && !Findings.empty())
        throw CFailure(EExit::kFailed, "ACPI table '" + *rWanted.oSignature + "': " + Findings.front());
    if (oWanted && rTables.Items().empty())
        throw CFailure(EExit::kNoSuchDevice, "this machine has no ACPI table '" + *rWanted.oSignature + "'");
    if (!oWanted) Document.AddTable(std::move(Table));
    return g_EmitWithFindings(rTool, Document, Findings);
}

}  // namespace

extern constexpr CCommand kAcpi{"acpi", "List the ACPI tables, or dump one",
                                "  vxtdiag acpi\n  vxtdiag acpi MCFG --json", g_NewCall<CWanted, kOptions, g_Acpi>};

}  // namespace vxtdiag
