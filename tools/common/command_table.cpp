// Shell completion and the manual page, both read off the commands' rows.
#include "common/command_table.h"

#include <algorithm>
#include <sstream>

namespace vxttools {
namespace {

/// "-o", "--output" of an option; nothing for an argument.
std::vector<std::string> g_Flags(const CBoundOption& rOption) {
    std::vector<std::string> Flags;
    std::istringstream Names(rOption.IsArgument() ? "" : rOption.pszName);
    for (std::string sName; std::getline(Names, sName, ',');) Flags.push_back(sName);
    return Flags;
}

std::string g_Joined(const std::vector<std::string>& rWords, const char* pszBetween) {
    std::string sText;
    for (const std::string& rsWord : rWords) sText += (sText.empty() ? "" : pszBetween) + rsWord;
    return sText;
}

std::vector<std::string> g_AllFlags(const CTableEntry& rEntry) {
    std::vector<std::string> All;
    for (const CBoundOption& rOption : rEntry.Options)
        for (const std::string& rsFlag : g_Flags(rOption)) All.push_back(rsFlag);
    return All;
}

/// The lines of a bash script that are made for each command.
struct CCompletion {
    const CCommandTable& rTable;
    std::string sPaths = {}, sWords = {}, sValues = {};

    void Add(const CTableEntry& rEntry, const std::string& sPath) {
        std::vector<std::string> Words = g_AllFlags(rEntry);
        for (const CBoundOption& rOption : rEntry.Options) {
            const std::string sChoices = g_Joined(g_Choices(rOption), " ");
            if (rOption.IsArgument() && !sChoices.empty()) Words.push_back(sChoices);
            if (rOption.IsArgument() || !rOption.TakesValue()) continue;
            const std::string sKind = sChoices.empty() ? "-f" : "-W \"" + sChoices + "\"";
            sValues += "        " + g_Joined(g_Flags(rOption), "|") + ") COMPREPLY=($(compgen " + sKind +
                       " -- \"$current\")); return ;;\n";
        }
        for (const CTableEntry* pBelow : rTable.Below(rEntry)) {
            Words.push_back(pBelow->Name());
            const std::string sBelow = sPath + " " + pBelow->Name();
            sPaths += "        \"" + sBelow + "\") command=\"" + sBelow + "\" ;;\n";
            Add(*pBelow, sBelow);
        }
        sWords += "        \"" + sPath + "\") words=\"" + g_Joined(Words, " ") + "\" ;;\n";
    }
};

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

std::string g_Usage(const CTableEntry& rEntry, const std::string& sTool) {
    std::string sUsage = "\\fB" + g_Roff(sTool + (rEntry.Path().empty() ? "" : " ") + rEntry.Path()) + "\\fR";
    for (const CBoundOption& rOption : rEntry.Options)
        if (rOption.IsArgument()) {
            const std::string sName = "\\fI" + std::string(rOption.pszName) + "\\fR";
            sUsage += " " + (rOption.bRequired ? sName : "[" + sName + "]");
        }
    return sUsage;
}

std::string g_OptionTexts(const CTableEntry& rEntry) {
    std::string sPage;
    for (const CBoundOption& rOption : rEntry.Options) {
        const std::string sValue = rOption.TakesValue() ? " \\fI" + g_Roff(rOption.pszType) + "\\fR" : "";
        sPage += ".TP\n";
        sPage += rOption.IsArgument() ? "\\fI" + g_Roff(rOption.pszName) + "\\fR\n"
                                      : "\\fB" + g_Roff(g_Joined(g_Flags(rOption), ", ")) + "\\fR" + sValue + "\n";
        sPage += g_Roff(rOption.pszMeaning) + "\n";
    }
    return sPage;
}

std::string g_ExampleText(const CTableEntry& rEntry) {
    return rEntry.pRow->pszExamples ? ".PP\n.nf\n" + g_Roff(rEntry.pRow->pszExamples) + "\n.fi\n" : "";
}

}  // namespace

std::vector<const CTableEntry*> CCommandTable::Below(const CTableEntry& rEntry) const {
    std::vector<const CTableEntry*> Found;
    for (const CTableEntry& rOther : Entries)
        if (&rOther != &Root() && &Parent(rOther) == &rEntry) Found.push_back(&rOther);
    return Found;
}

const CTableEntry& CCommandTable::Parent(const CTableEntry& rEntry) const {
    const std::string sPath = rEntry.Path();
    const size_t uLast = sPath.rfind(' ');
    return *std::ranges::find(Entries, uLast == sPath.npos ? "" : sPath.substr(0, uLast), &CTableEntry::Path);
}

std::vector<std::string> g_Choices(const CBoundOption& rOption) {
    std::vector<std::string> Choices;
    std::istringstream Words(rOption.pszType);
    const char cFirst = rOption.pszType[0];
    if (cFirst < 'a' || cFirst > 'z') return Choices;  // the kind of value
    for (std::string sWord; std::getline(Words, sWord, '|');) Choices.push_back(sWord);
    return Choices;
}

std::string g_BashCompletion(const CCommandTable& rTable) {
    CCompletion Completion{rTable};
    Completion.Add(rTable.Root(), "");
    const std::string& rsTool = rTable.sTool;
    // Global options are offered behind every command.
    return "_" + rsTool +
           "() {\n"
           "    local current=\"${COMP_WORDS[COMP_CWORD]}\" previous=\"${COMP_WORDS[COMP_CWORD-1]}\" command=\"\" "
           "words word\n"
           "    for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
           "        case \"$command $word\" in\n" +
           Completion.sPaths +
           "        esac\n"
           "    done\n"
           "    case \"$previous\" in\n" +
           Completion.sValues +
           "    esac\n"
           "    case \"$command\" in\n" +
           Completion.sWords +
           "    esac\n"
           "    [[ $current == -* && -n $command ]] && words+=\" " +
           g_Joined(g_AllFlags(rTable.Root()), " ") +
           "\"\n"
           "    COMPREPLY=($(compgen -W \"$words\" -- \"$current\"))\n"
           "}\n"
           "complete -o filenames -F _" +
           rsTool + " " + rsTool + "\n";
}

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
                     g_ExampleText(rEntry) + g_OptionTexts(rEntry);
    sPage += ".SH EXIT STATUS\n";
    for (const auto& [eExit, pszMeaning] : kExitMeanings)
        sPage += ".TP\n\\fB" + std::to_string(static_cast<int>(eExit)) + "\\fR\n" + pszMeaning + "\n";
    sPage +=
        ".SH ENVIRONMENT\n.TP\n\\fBNO_COLOR\\fR\nWhen set to anything: no colour unless asked for by "
        "\\fB\\-\\-color\\fR.\n";
    return sPage;
}

}  // namespace vxttools
