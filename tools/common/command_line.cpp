#include "common/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <map>

#include "common/command_table.h"
#include "common/completion.h"
#include "common/console.h"
#include "common/own_commands.h"

namespace vxttools {
namespace {

// The parser's own two: it needs no place for them.
constexpr CBoundOption kHelp{"-h,--help", "",     "Show help, for a command too", static_cast<bool*>(nullptr),
                             false,       nullptr};
constexpr CBoundOption kVersion{"--version", "", "Show the version", static_cast<bool*>(nullptr), false, nullptr};

using CGlobal = COption<CGlobalOptions>;
constexpr CGlobal kGlobal[] = {
    {"--json", "", "Answer as JSON", &CGlobalOptions::bJson},
    {"--csv", "", "Answer as a CSV table", &CGlobalOptions::bCsv, false, "--json"},
    {"-q,--quiet", "", "No remarks on stderr, errors only", &CGlobalOptions::bQuiet},
    {"-o,--output", "FILE", "Write the answer to FILE", &CGlobalOptions::oOutput},
    {"--color", "auto|always|never", "Colour in text; automatic on a terminal unless NO_COLOR is set",
     &CGlobalOptions::oColor},
    {"--machine", "NAME|FILE", "Simulated builds: the PC to run on, by name or machine file", &CGlobalOptions::oMachine,
     false, nullptr, g_MachineCandidates},
    {"--state", "FILE", "Simulated builds: keep the PC's state in FILE from one command to the next",
     &CGlobalOptions::oState},
    {"--fault", "PLAN", "Simulated builds: inject faults, e.g. seed=7,rate=5,kinds=fail+ones", &CGlobalOptions::oFault},
    {"--log", "", "Write the library's log below ./Logs", &CGlobalOptions::bLog},
};
constexpr CGlobal kLibrary{"--library", "FILE", "Load this library instead of the one beside the tool",
                           &CGlobalOptions::oLibrary};
constexpr CGlobal kWriting[] = {
    {"-y,--yes", "", "Write to the hardware without asking", &CGlobalOptions::bYes},
    {"--dry-run", "", "Show what would be written, write nothing", &CGlobalOptions::bDryRun},
};

CCommandTable g_Table(const CToolRow& rTool, CGlobalOptions& rOptions) {
    CCommandTable Table{rTool.pszName, {}};
    const auto Add = [&Table](const CCommand* pRow) {
        CTableEntry& rEntry = Table.Entries.emplace_back(CTableEntry{pRow, pRow->pNewCall(), {kHelp}});
        for (const CBoundOption& rOption : rEntry.pCall->Options()) rEntry.Options.push_back(rOption);
    };
    for (const CCommand* const pRow : rTool.Commands) Add(pRow);
    for (const CCommand* const pRow : {&kCompletion, &kManPage}) Add(pRow);  // behind the tool's

    std::vector<CBoundOption>& rGlobal = Table.Entries.front().Options;
    rGlobal.push_back(kVersion);
    for (const CGlobal& rOption : kGlobal) g_Bind(rGlobal, rOptions, rOption);
    if (rTool.bLoadsLibrary) g_Bind(rGlobal, rOptions, kLibrary);
    for (const CGlobal& rOption : kWriting) g_Bind(rGlobal, rOptions, rOption);
    return Table;
}

/// Examples come first: they answer most questions. They are kept as the command's footer.
class CHelpFormatter : public CLI::Formatter {
public:
    std::string make_help(const CLI::App* pApp, std::string sName, CLI::AppFormatMode eMode) const override {
        std::string sHelp;
        if (!pApp->get_footer().empty()) sHelp += "Examples:\n" + pApp->get_footer() + "\n\n";
        sHelp += make_description(pApp) + make_usage(pApp, sName) + make_positionals(pApp) + make_groups(pApp, eMode) +
                 make_subcommands(pApp, eMode);
        if (pApp->get_parent()) return sHelp + "\nGlobal options: " + _RootName(pApp) + " --help\n";
        sHelp += "\nExit codes:\n";
        for (const auto& [eExit, pszMeaning] : kExitMeanings)
            sHelp += "  " + std::to_string(static_cast<int>(eExit)) + "\t" + pszMeaning + "\n";
        return sHelp;
    }

    /// Only what the value is; what excludes what, the error tells.
    std::string make_option_opts(const CLI::Option* pOption) const override {
        return pOption->get_expected_max() == 0 || pOption->get_type_name().empty() ? ""
                                                                                    : " " + pOption->get_type_name();
    }

private:
    static std::string _RootName(const CLI::App* pApp) {
        while (pApp->get_parent()) pApp = pApp->get_parent();
        return pApp->get_name();
    }
};

CLI::Option* g_Add(CLI::App& rApp, const CBoundOption& rOption) {
    const auto AddTo = [&](auto* pTarget) {
        if constexpr (std::is_same_v<decltype(pTarget), bool*>)
            return rApp.add_flag(rOption.pszName, *pTarget, rOption.pszMeaning);
        else
            return rApp.add_option(rOption.pszName, *pTarget, rOption.pszMeaning)->type_name(rOption.pszType);
    };
    return std::visit(AddTo, rOption.Target);
}

void g_AddOptions(CLI::App& rApp, const CTableEntry& rEntry) {
    for (const CBoundOption& rOption : rEntry.Options) {
        if (rOption.pszName == kHelp.pszName || rOption.pszName == kVersion.pszName) continue;
        CLI::Option& rAdded = *g_Add(rApp, rOption);
        rAdded.required(rOption.bRequired);
        if (rOption.pszExcludes) rAdded.excludes(rApp.get_option(rOption.pszExcludes));
        if (const std::vector<std::string> Choices = g_Choices(rOption); !Choices.empty())
            rAdded.check(CLI::IsMember(Choices).description(""));
    }
}

/// The parser over the table.
class CParser {
public:
    explicit CParser(const CCommandTable& rTable) : m_Root(rTable.Root().pRow->pszSummary, rTable.sTool) {
        m_Root.formatter(std::make_shared<CHelpFormatter>());
        m_Root.get_formatter()->column_width(28);
        m_Root.get_formatter()->label("Subcommands", "Commands");
        m_Root.get_formatter()->label("SUBCOMMAND", "COMMAND");
        m_Root.set_help_flag(kHelp.pszName, kHelp.pszMeaning);
        m_Root.set_version_flag(kVersion.pszName, rTable.sTool + " " VXT_VERSION, kVersion.pszMeaning);
        m_Root.fallthrough();  // global options may stand behind the command
        std::map<const CTableEntry*, CLI::App*> Apps;
        for (const CTableEntry& rEntry : rTable.Entries) {
            CLI::App* pApp = &m_Root;
            if (&rEntry != &rTable.Root())
                pApp = Apps.at(&rTable.Parent(rEntry))->add_subcommand(rEntry.Name(), rEntry.pRow->pszSummary);
            if (rEntry.pRow->pszExamples) pApp->footer(rEntry.pRow->pszExamples);
            pApp->require_subcommand(0, 1);
            g_AddOptions(*pApp, rEntry);
            m_Entries[pApp] = &rEntry;
            Apps[&rEntry] = pApp;
        }
    }

    /// Returns the command that was named.
    const CTableEntry& Parse(std::vector<std::string> Arguments) {
        std::ranges::reverse(Arguments);  // the parser takes them from the back
        m_Root.parse(std::move(Arguments));
        const CLI::App* pCommand = &m_Root;
        while (!pCommand->get_subcommands().empty()) pCommand = pCommand->get_subcommands().front();
        return *m_Entries.at(pCommand);
    }

    std::string Help() const { return m_Root.help(); }

private:
    CLI::App m_Root;
    std::map<const CLI::App*, const CTableEntry*> m_Entries;
};

EExit g_Run(const CCommandTable& rTable, const CTableEntry& rEntry, CGlobalOptions& rOptions) {
    // Scripts pass "$MACHINE" whether it is set or not: an empty text is none.
    for (auto* const poText : {&rOptions.oOutput, &rOptions.oMachine, &rOptions.oFault, &rOptions.oLibrary})
        if (*poText == "") poText->reset();
    CTool Tool(rTable, rEntry.Path(), rOptions);
    g_ChooseMachine(rOptions);
    return rEntry.pCall->Run(Tool);
}

}  // namespace

void g_ChooseMachine(const CGlobalOptions& rOptions) {
    if (rOptions.oMachine) g_SetEnvironment("VXT_MACHINE", *rOptions.oMachine);
    if (rOptions.oState) g_SetEnvironment("VXT_STATE", *rOptions.oState);
    if (rOptions.oFault) g_SetEnvironment("VXT_FAULT", *rOptions.oFault);
}

CTool::CTool(const CCommandTable& rTable, const std::string& sCommand, const CGlobalOptions& rOptions)
    : m_rTable(rTable), m_sCommand(sCommand), m_rOptions(rOptions) {
    const EFormat eFormat = rOptions.bJson ? EFormat::kJson : rOptions.bCsv ? EFormat::kCsv : EFormat::kText;
    m_Output.Open(eFormat, rOptions.oColor, rOptions.oOutput, rOptions.bQuiet);
}

CDocument CTool::NewDocument() const { return {m_rTable.sTool, m_sCommand.empty() ? "overview" : m_sCommand}; }

EExit CTool::Emit(const CDocument& rDocument, EExit eExit) {
    m_Output.Emit(rDocument);
    return eExit;
}

int g_RunTool(const CToolRow& rTool, int nArguments, char** ppszArguments) {
    const auto Fail = [&rTool](EExit eExit, const std::string& sMessage) {
        std::fputs((rTool.pszName + (": " + sMessage) + "\n").c_str(), stderr);
        return static_cast<int>(eExit);
    };
    try {
        CGlobalOptions Options;
        const CCommandTable Table = g_Table(rTool, Options);
        const std::vector<std::string> Arguments = g_StartConsole(nArguments, ppszArguments);
        if (g_IsShellAsking(Arguments)) {
            g_AnswerShell(Table, Options, Arguments);
            return static_cast<int>(EExit::kDone);
        }
        CParser Parser(Table);
        try {
            const CTableEntry& rEntry = Parser.Parse(Arguments);
            return static_cast<int>(g_Run(Table, rEntry, Options));
        } catch (const CLI::CallForHelp&) {
            std::fputs(Parser.Help().c_str(), stdout);
            return static_cast<int>(EExit::kDone);
        } catch (const CLI::CallForVersion& rVersion) {
            std::fputs((std::string(rVersion.what()) + "\n").c_str(), stdout);
            return static_cast<int>(EExit::kDone);
        }
    } catch (const CLI::ParseError& rError) {
        return Fail(EExit::kUsage, std::string(rError.what()) + "\nTry '" + rTool.pszName + " --help'.");
    } catch (const CFailure& rFailure) {
        return Fail(rFailure.Exit(), rFailure.what());
    } catch (const std::exception& rError) { return Fail(EExit::kFailed, rError.what()); }
}

}  // namespace vxttools
