// vxtctl cpu: everything about the cores.
#include <algorithm>

#include "candidates.h"
#include "common/command.h"
#include "common/core_tables.h"
#include "cpu_report.h"

namespace vxtctl {

using namespace vxttools;

namespace {

struct CWanted {
    std::optional<std::string> oCore;
};
constexpr COption<CWanted> kOptions[] = {
    {"CORE", "", "Core, 0 or cpu/0; all cores when left out", &CWanted::oCore, false, nullptr, g_CoreCandidates},
};

/// What several cores share is told once.
void g_AddCoreTables(CDocument& rDocument) {
    const CJson& rAll = std::as_const(rDocument)["cores"];
    const auto Identification = [](const CJson& rCore) {
        CCells Rows;
        for (const char* pszKey : {"brand", "description", "vendor", "name", "version"})
            Rows.push_back({"  " + std::string(pszKey), g_Cell(rCore[pszKey])});
        Rows.push_back({"  multiplier limit", rCore["multiplier_limited"].Flag() ? "rated maximum" : "none"});
        Rows.push_back({"  boost", g_BoostText(rCore["boost"])});
        return Rows;
    };
    for (auto& [sCores, rRows] : g_ShareRows(rAll, Identification))
        rDocument.AddTable({"Processor, " + g_CoreTitle(sCores), {"", ""}, std::move(rRows)});

    const std::vector<CJson>& rCores = rAll.Items();
    constexpr size_t kCoresPerTable = 8;  // fits a terminal of ordinary width
    for (size_t uFirst = 0; uFirst < rCores.size(); uFirst += kCoresPerTable) {
        const size_t uEnd = std::min(uFirst + kCoresPerTable, rCores.size());
        CTextTable Table{"Readings", {"", ""}};
        for (size_t i = uFirst; i < uEnd; ++i) Table.Columns.push_back(">Core " + g_Cell(rCores[i]["index"]));
        const std::vector<CJson>& rFirst = rCores[uFirst]["readings"].Items();
        for (size_t uReading = 0; uReading < rFirst.size(); ++uReading) {
            std::vector<std::string>& rRow = Table.Rows.emplace_back();
            rRow = {"  " + g_Cell(rFirst[uReading]["label"]), g_Cell(rFirst[uReading]["unit"])};
            for (size_t i = uFirst; i < uEnd; ++i) rRow.push_back(g_Cell(rCores[i]["readings"].Items()[uReading]));
        }
        rDocument.AddTable(std::move(Table));
    }
    g_AddReasonTables(rDocument);
    g_AddPstateTables(rDocument);
}

EExit g_Cpu(CTool& rTool, const CWanted& rWanted) {
    const auto oCore = rWanted.oCore ? std::optional(g_ParseCore(*rWanted.oCore, "CORE")) : std::nullopt;
    const CHostLibrary Library(rTool.Options());
    Library.RemarkOnCores(rTool.Output());
    CDocument Document = rTool.NewDocument();
    Document.SetCsv("cores");
    CFindings Findings;
    g_AddCores(Document, g_SelectCores(Library, oCore), Findings);
    g_AddCoreTables(Document);
    return Library.Emit(rTool, Document, std::move(Findings));
}

}  // namespace

extern constexpr CCommand kCpu{"cpu", "Show the cores: identification, readings, P-states",
                               "  vxtctl cpu\n  vxtctl cpu 1 --json", g_NewCall<CWanted, kOptions, g_Cpu>};

}  // namespace vxtctl
