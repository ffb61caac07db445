// vxtctl report: everything as one page for a person, or a bug report.
#include "common/command.h"
#include "common/console.h"
#include "common/own_file.h"
#include "html_report.h"

namespace vxtctl {

using namespace vxttools;

namespace {

struct CWanted {
    std::optional<std::string> oFile, oRecording;
    bool bSerials = false;
};
constexpr COption<CWanted> kOptions[] = {
    {"FILE", "", "Page to write; an earlier report is replaced; -: standard output", &CWanted::oFile, true},
    {"--recording", "FILE", "Draw what 'vxtctl sensors --record FILE' recorded", &CWanted::oRecording},
    {"--serials", "", "Also serial numbers, which are left out otherwise", &CWanted::bSerials},
};

/// Which PC it is about; of a file only the name, folders tell whose it is.
std::string g_Machine(const CTool& rTool, const CHostLibrary& rLibrary) {
    const CGlobalOptions& rOptions = rTool.Options();
    if (!rLibrary.IsSimulated()) return "the one that vxtctl ran on";
    const std::string sName = rOptions.oMachine ? *rOptions.oMachine : g_Environment("VXT_MACHINE");
    return "a simulated one" + (sName.empty() ? "" : ", " + g_FileName(sName)) +
           (rOptions.oState ? ", state " + g_FileName(*rOptions.oState) : "");
}

EExit g_Report(CTool& rTool, const CWanted& rWanted) {
    const std::string& rsFile = *rWanted.oFile;
    const bool bToStdout = rsFile == "-";
    if (!bToStdout && rsFile == rTool.Options().oOutput)
        throw CFailure(EExit::kUsage, "--output: the report has a file of its own");
    if (rTool.Options().bDryRun)
        throw CFailure(EExit::kUsage, "--dry-run: a report is a file that is written; it changes nothing on the PC");
    if (bToStdout && rTool.Output().Format() != EFormat::kText)
        throw CFailure(EExit::kUsage, "with - the answer is the page: it takes neither --json nor --csv");
    if (!bToStdout) g_CheckOwnFile(rsFile, kReportMark, "report of vxtctl");
    std::optional<CRecording> oRecording;
    if (rWanted.oRecording) oRecording = g_ReadRecording(*rWanted.oRecording);

    const CHostLibrary Library(rTool.Options());
    Library.RemarkOnCores(rTool.Output());
    CFindings Findings;
    const CHtmlReport Report{g_Machine(rTool, Library), g_FileName(rTool.Options().oLibrary.value_or(kLibraryFileName)),
                             oRecording ? &*oRecording : nullptr, rWanted.bSerials};
    const std::string sPage = g_HtmlReport(Library, Report, Findings);
    CDocument Document = rTool.NewDocument();
    if (bToStdout) {
        Document.SetText(sPage);
        return Library.Emit(rTool, Document, std::move(Findings));
    }
    g_WriteFile(g_Path(rsFile), rsFile, sPage);
    Document["file"] = rsFile;
    Document["bytes"] = sPage.size();
    Document["recording"] = rWanted.oRecording;
    Document["serials"] = rWanted.bSerials;
    Document.AddTable({"Report",
                       {"", ""},
                       {{"  File", rsFile},
                        {"  Size", std::to_string((sPage.size() + 1023) / 1024) + " KB"},
                        {"  Serial numbers", rWanted.bSerials ? "shown" : "left out"}}});
    return Library.Emit(rTool, Document, std::move(Findings));
}

}  // namespace

extern constexpr CCommand kReport{"report", "Write all that is known of this PC into one HTML page",
                                  "  vxtctl report pc.html\n"
                                  "  vxtctl report pc.html --recording night.csv    with charts of the sensors\n"
                                  "  vxtctl report - --serials >pc.html",
                                  g_NewCall<CWanted, kOptions, g_Report>};

}  // namespace vxtctl
