#include "common/man_page.h"

#include <algorithm>
#include <string_view>

namespace vxttools {
namespace {

std::string g_Joined(const std::vector<std::string>& rWords, const char* pszBetween) {
    std::string sText;
    for (const std::string& rsWord : rWords) sText += (sText.empty() ? "" : pszBetween) + rsWord;
    return sText;
}

/// Text for the man macros: no control lines by accident, hyphens that can be copied.
std::string g_Roff(const std::string& sText) {
    std::string sRoff;
    bool bLineStart = true;
    for (const char c : sText) {
        if (bLineStart && (c == '.' || c == '\'')) sRoff += "\\&";
        sRoff += c == '\\' ? "\\e" : c == '-' ? "\\-" : std::string(1, c);
        bLineStart = c == '\n';
    }
    return sRoff;
}

std::string g_Bold(const std::string& sText) { return "\\fB" + g_Roff(sText) + "\\fR"; }
std::string g_Italic(const std::string& sText) { return "\\fI" + g_Roff(sText) + "\\fR"; }

std::string g_Item(const std::string& sHead, const std::string& sText) {
    return ".TP\n" + sHead + "\n" + g_Roff(sText) + "\n";
}

std::string g_Usage(const CTableEntry& rEntry, const std::string& sTool) {
    std::string sUsage = g_Bold(sTool + (rEntry.Path().empty() ? "" : " ") + rEntry.Path());
    for (const CBoundOption& rOption : rEntry.Options)
        if (rOption.IsArgument()) {
            const bool bMany = std::holds_alternative<std::vector<std::string>*>(rOption.Target);
            const std::string sName = g_Italic(rOption.pszName) + (bMany ? " ..." : "");
            sUsage += " " + (rOption.bRequired ? sName : "[" + sName + "]");
        }
    return sUsage;
}

/// Options that are told already, those of every command, are left out.
std::string g_OptionTexts(const CTableEntry& rEntry, const std::vector<CBoundOption>& rTold = {}) {
    std::string sPage;
    for (const CBoundOption& rOption : rEntry.Options) {
        if (std::ranges::count(rTold, std::string_view(rOption.pszName), &CBoundOption::pszName)) continue;
        const std::string sType = rOption.TakesValue() && rOption.pszType[0] ? " " + g_Italic(rOption.pszType) : "";
        const std::string sExcludes =
            rOption.pszExcludes ? "; not together with " + std::string(rOption.pszExcludes) : "";
        sPage += g_Item(
            (rOption.IsArgument() ? g_Italic(rOption.pszName) : g_Bold(g_Joined(g_Flags(rOption), ", "))) + sType,
            rOption.pszMeaning + sExcludes);
    }
    return sPage;
}

std::string g_ExampleText(const CTableEntry& rEntry) {
    return rEntry.pRow->pszExamples ? ".PP\n.nf\n" + g_Roff(rEntry.pRow->pszExamples) + "\n.fi\n" : "";
}

struct CTextRow {
    const char* pszHead;
    const char* pszText;
};
constexpr CTextRow kFiles[] = {
    {"libVXTAPI.so, VXTAPI.dll", "The library, beside the tool"},
    {"NAME.machine", "A PC as text, for --machine; 'vxtdiag snapshot' writes one"},
    {"./Logs", "The library's log, written with --log only"},
};
constexpr CTextRow kEnvironment[] = {
    {"NO_COLOR", "When set to anything: no colour unless asked for by --color"},
    {"COLUMNS", "How wide text may be where the terminal does not tell"},
    {"VXT_MACHINE", "Simulated builds: the PC to run on where --machine is not given"},
    {"VXT_STATE", "Simulated builds: the file that keeps the PC's state where --state is not given"},
    {"VXT_FAULT", "Simulated builds: the faults to inject where --fault is not given"},
};

template <size_t uCount> std::string g_Section(const char* pszTitle, const CTextRow (&aRows)[uCount]) {
    std::string sSection = ".SH " + std::string(pszTitle) + "\n";
    for (const auto& [pszHead, pszText] : aRows) sSection += g_Item(g_Bold(pszHead), pszText);
    return sSection;
}

std::string g_ExitStatus() {
    std::string sSection = ".SH EXIT STATUS\n";
    for (const auto& [eExit, pszMeaning] : kExitMeanings)
        sSection += g_Item(g_Bold(std::to_string(static_cast<int>(eExit))), pszMeaning);
    return sSection;
}

}  // namespace

std::string g_ManPage(const CCommandTable& rTable) {
    const CTableEntry& rRoot = rTable.Root();
    std::string sTitle = rTable.sTool;
    for (char& rc : sTitle) rc = static_cast<char>(std::toupper(static_cast<unsigned char>(rc)));
    std::string sPage = ".TH " + sTitle + " 1 \"\" \"VXT " VXT_VERSION "\"\n.SH NAME\n" + rTable.sTool + " \\- " +
                        g_Roff(rRoot.pRow->pszSummary) + "\n.SH SYNOPSIS\n" + g_Usage(rRoot, rTable.sTool) +
                        " [\\fIOPTIONS\\fR] [\\fICOMMAND\\fR]\n.SH EXAMPLES\n" + g_ExampleText(rRoot) +
                        ".SH OPTIONS\nUnderstood by every command, before or behind its name.\n" +
                        g_OptionTexts(rRoot) + ".SH COMMANDS\n";
    for (const CTableEntry& rEntry : rTable.Entries)
        if (&rEntry != &rRoot)
            sPage += ".SS " + g_Usage(rEntry, rTable.sTool) + "\n" + g_Roff(rEntry.pRow->pszSummary) + ".\n" +
                     g_ExampleText(rEntry) + g_OptionTexts(rEntry, rRoot.Options);
    return sPage + g_ExitStatus() + g_Section("ENVIRONMENT", kEnvironment) + g_Section("FILES", kFiles);
}

}  // namespace vxttools
