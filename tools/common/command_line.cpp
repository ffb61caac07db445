#include "common/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <map>

#include "common/command_table.h"
#include "common/completion.h"
#include "common/console.h"
#include "common/guarded_process.h"
#include "common/own_commands.h"

namespace vxttools {
namespace {

// The parser's own two: it needs no place for them.
constexpr CBoundOption kHelp{"-h,--help", "",     "Show help, for a command too", static_cast<bool*>(nullptr),
                             false,       nullptr};
constexpr CBoundOption kVersion{"--version", "", "Show the version", static_cast<bool*>(nullptr), false, nullptr};

using CGlobal = COption<CGlobalOptions>;
constexpr CGlobal kGlobal[] = {
    {"--json", "", "Answer as JSON, failures too", &CGlobalOptions::bJson},
    {"--csv", "", "Answer as a CSV table", &CGlobalOptions::bCsv, false, "--json"},
    {"-q,--quiet", "", "No remarks on stderr, errors only", &CGlobalOptions::bQuiet},
    {"-o,--output", "FILE", "Write the answer to FILE; - is standard output", &CGlobalOptions::oOutput},
    {"--color", "auto|always|never", "Colour in text; automatic on a terminal unless NO_COLOR is set",
     &CGlobalOptions::oColor},
    {"--machine", "NAME|FILE", "Simulated builds: the PC to run on, by name or machine file", &CGlobalOptions::oMachine,
     false, nullptr, g_MachineCandidates},
    {"--state", "FILE", "Simulated builds: keep the PC's state in FILE from one command to the next",
     &CGlobalOptions::oState},
    {"--fault", "PLAN",
     "Simulated builds: inject faults, e.g. seed=7,rate=5,kinds=fail+ones; kinds: fail, zero, count, drop, ones, delay",
     &CGlobalOptions::oFault},
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
        for (const auto& [eExit, pszMeaning] : kExitMeanings) sHelp += _ExitLine(static_cast<int>(eExit), pszMeaning);
        return sHelp;
    }

    /// Only what the value is; what excludes what, the error tells.
    std::string make_option_opts(const CLI::Option* pOption) const override {
        return pOption->get_expected_max() == 0 || pOption->get_type_name().empty() ? ""
                                                                                    : " " + pOption->get_type_name();
    }

private:
    static std::string _ExitLine(int nExit, const char* pszMeaning) {
        constexpr size_t kCodeWidth = 5;
        const std::string sCode = std::to_string(nExit);
        return "  " + sCode + std::string(kCodeWidth - sCode.size(), ' ') + pszMeaning + "\n";
    }
    static std::string _RootName(const CLI::App* pApp) {
        while (pApp->get_parent()) pApp = pApp->get_parent();
        return pApp->get_name();
    }
};

constexpr const char* kEmpty = "an argument is empty";

std::vector<std::string> g_CommandNames(const CLI::App& rApp) {
    std::vector<std::string> Names;
    for (const CLI::App* const pBelow : rApp.get_subcommands({})) Names.push_back(pBelow->get_name());
    return Names;
}

std::vector<std::string> g_OptionNames(const CLI::App& rApp) {
    std::vector<std::string> Names;
    for (const CLI::Option* const pOption : rApp.get_options({}))
        for (const std::string& rsName : pOption->get_lnames()) Names.push_back("--" + rsName);
    return Names;
}

/// A command line that is none.
struct CRefusal : CFailure {
    explicit CRefusal(const std::string& sMessage) : CFailure(EExit::kUsage, sMessage) {}
};

[[noreturn]] void g_RefuseValue(const CBoundOption& rOption, const std::string& sWhy) {
    const std::string sNames = rOption.pszName;  // "-o,--output"
    throw CRefusal(sNames.substr(sNames.rfind(',') + 1) + ": " + sWhy);
}

bool g_TakesSeveral(const CBoundOption& rOption) {
    return std::holds_alternative<std::vector<std::string>*>(rOption.Target);
}

/// Puts a word of an option's value into its place.
struct CTaker {
    const CBoundOption& rOption;
    const std::string& rsWord;

    void operator()(bool*) const {}  // the parser's own
    void operator()(std::optional<std::string>* poText) const { *poText = rsWord; }
    void operator()(std::vector<std::string>* pWords) const { pWords->push_back(rsWord); }
    void operator()(std::optional<double>* poNumber) const {
        *poNumber = g_ParseNumber(rsWord);
        if (!*poNumber) Expected("a decimal number like 1.25");
    }
    void operator()(std::optional<uint32_t>* poNumber) const {
        *poNumber = g_ParseUnsigned(rsWord);
        if (!*poNumber) Expected("a whole number from 0 to 4294967295");
    }
    [[noreturn]] void Expected(const std::string& sWhat) const {
        g_RefuseValue(rOption, "expected " + sWhat + ", not '" + rsWord + "'");
    }
};

void g_Take(const CBoundOption& rOption, const std::vector<std::string>& rWords) {
    const std::vector<std::string> Choices = g_Choices(rOption);
    for (const std::string& rsWord : rWords) {
        if (rsWord.empty()) g_RefuseValue(rOption, kEmpty);
        if (&rsWord != &rWords.front() && !g_TakesSeveral(rOption)) g_RefuseValue(rOption, "given twice");
        if (!Choices.empty() && !std::ranges::count(Choices, rsWord))
            g_RefuseValue(rOption, "'" + rsWord + "' is not one of " + rOption.pszType + g_DidYouMean(rsWord, Choices));
        std::visit(CTaker{rOption, rsWord}, rOption.Target);
    }
}

CLI::Option& g_Add(CLI::App& rApp, const CBoundOption& rOption) {
    if (bool* const* ppFlag = std::get_if<bool*>(&rOption.Target))
        return *rApp.add_flag(rOption.pszName, **ppFlag, rOption.pszMeaning);
    const CLI::callback_t Take = [&rOption](const CLI::results_t& rWords) {
        g_Take(rOption, rWords);
        return true;
    };
    CLI::Option& rAdded = *rApp.add_option(rOption.pszName, Take, rOption.pszMeaning)->type_name(rOption.pszType);
    rAdded.multi_option_policy(CLI::MultiOptionPolicy::TakeAll);  // counting them is up to g_Take
    // Asked for "at least one" the parser would take "[a,b]" apart, which is a value like any other here.
    constexpr int kMany = CLI::detail::expected_max_vector_size;
    if (g_TakesSeveral(rOption)) rAdded.expected(kMany, kMany);
    return rAdded;
}

void g_AddOptions(CLI::App& rApp, const CTableEntry& rEntry) {
    for (const CBoundOption& rOption : rEntry.Options) {
        if (rOption.pszName == kHelp.pszName || rOption.pszName == kVersion.pszName) continue;
        CLI::Option& rAdded = g_Add(rApp, rOption);
        rAdded.required(rOption.bRequired);
        if (rOption.pszExcludes) rAdded.excludes(rApp.get_option(rOption.pszExcludes));
    }
}

/// The parser would take the next argument for the value that is missing in "--link=".
void g_RefuseEmptyValues(const std::vector<std::string>& rArguments) {
    for (const std::string& rsArgument : rArguments) {
        if (rsArgument == "--") return;  // what follows are no options
        if (rsArgument.starts_with("--") && rsArgument.find('=') == rsArgument.size() - 1)
            throw CRefusal(rsArgument.substr(0, rsArgument.size() - 1) + ": " + kEmpty);
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
        m_Root.fallthrough();                       // global options may stand behind the command
        m_Root.allow_windows_style_options(false);  // "/tmp/file" is a file everywhere
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

    /// Returns the command that was named. Ends the tool when the arguments are none of its command lines.
    const CTableEntry& Parse(std::vector<std::string> Arguments) {
        g_RefuseEmptyValues(Arguments);
        std::ranges::reverse(Arguments);  // the parser takes them from the back
        try {
            m_Root.parse(std::move(Arguments));
        } catch (const CLI::Success&) {
            throw;  // help, version
        } catch (const CLI::ParseError& rError) {
            const std::vector<std::string> Unknown = m_Root.remaining(true);
            throw CRefusal(Unknown.empty() ? rError.what() : _UnknownText(Unknown.front()));
        }
        _RefuseArgumentsAbove();
        return Command();
    }

    /// The one that was named, as far as parsing came; the tool's own row when none was.
    const CTableEntry& Command() const { return *m_Entries.at(&_Named()); }

    std::string Help() const { return m_Root.help(); }

private:
    /// "cpu 2 set": the parser gives the number to "cpu", which does not run, and nobody would look at it.
    void _RefuseArgumentsAbove() const {
        const CLI::App& rNamed = _Named();
        for (const CLI::App* pApp = rNamed.get_parent(); pApp; pApp = pApp->get_parent())
            for (const CLI::Option* const pOption : pApp->get_options({}))
                if (pOption->get_positional() && pOption->count() > 0)
                    throw CRefusal("unexpected argument '" + pOption->results().front() + "': '" + pApp->get_name() +
                                   "' takes it, '" + pApp->get_name() + " " + rNamed.get_name() + "' does not");
    }

    const CLI::App& _Named() const {
        const CLI::App* pNamed = &m_Root;
        while (!pNamed->get_subcommands().empty()) pNamed = pNamed->get_subcommands().front();
        return *pNamed;
    }

    std::string _UnknownText(const std::string& sUnknown) const {
        if (sUnknown.empty()) return kEmpty;
        const CLI::App& rNamed = _Named();
        const auto Text = [&](const char* pszWhat, const std::vector<std::string>& rKnown) {
            return pszWhat + (" '" + sUnknown + "'") + g_DidYouMean(sUnknown.substr(0, sUnknown.find('=')), rKnown);
        };
        if (sUnknown.starts_with('-')) {
            std::vector<std::string> Known = g_OptionNames(rNamed);
            for (const std::string& rsGlobal : g_OptionNames(m_Root)) Known.push_back(rsGlobal);
            return Text("unknown option", Known);
        }
        const std::vector<std::string> Known = g_CommandNames(rNamed);
        const auto IsArgument = [](const CLI::Option* pOption) { return pOption->get_positional(); };
        const bool bTakesArguments = std::ranges::any_of(rNamed.get_options({}), IsArgument);
        return Text(Known.empty() || bTakesArguments ? "unexpected argument" : "unknown command", Known);
    }

    CLI::App m_Root;
    std::map<const CLI::App*, const CTableEntry*> m_Entries;
};

/// What an answer calls the command.
std::string g_AnswerName(const CTableEntry& rEntry) { return rEntry.Path().empty() ? "overview" : rEntry.Path(); }

EExit g_Run(const CCommandTable& rTable, CParser& rParser, const CGlobalOptions& rOptions,
            const std::vector<std::string>& rArguments, bool bJson) {
    try {
        const CTableEntry& rEntry = rParser.Parse(rArguments);
        CTool Tool(rTable, g_AnswerName(rEntry), rOptions);
        g_ChooseMachine(rOptions);
        return rEntry.pCall->Run(Tool);
    } catch (const CLI::CallForHelp&) {
        g_Print(g_WrapLines(rParser.Help(), g_OutputWidth()));
    } catch (const CLI::CallForVersion& rVersion) {
        g_Print(bJson ? CDocument(rTable.sTool, "version").Json() : std::string(rVersion.what()) + "\n");
    }
    return EExit::kDone;
}

/// The answer of a command that has none.
void g_PrintFailure(CDocument Document, EExit eExit, const std::string& sMessage) {
    Document["error"] = {{"code", static_cast<int>(eExit)}, {"message", sMessage}};
    Document.SetOneLine();  // lines of answers may stand before it
    try {
        g_Print(Document.Json());
    } catch (const CFailure&) {}  // its message may be this very failure
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
    if (rOptions.bLog) g_TestLogFolder();
}

CDocument CTool::NewDocument() const { return {m_rTable.sTool, m_sCommand}; }

EExit CTool::Emit(const CDocument& rDocument, EExit eExit) {
    m_Output.Emit(rDocument);
    return eExit;
}

namespace {

int g_RunLine(const CToolRow& rTool, std::vector<std::string> Arguments) {
    const auto AsksFor = [&](const char* pszFormat) { return std::ranges::count(Arguments, pszFormat) > 0; };
    const bool bJson = AsksFor("--json") && !AsksFor("--csv");  // also where the rest of the line is refused
    CGlobalOptions Options;
    const CCommandTable Table = g_Table(rTool, Options);
    CParser Parser(Table);
    const auto Fail = [&](EExit eExit, const std::string& sMessage) {
        if (sMessage.empty()) return static_cast<int>(eExit);
        g_PrintRemark(rTool.pszName + (": " + sMessage));
        if (bJson) g_PrintFailure({rTool.pszName, g_AnswerName(Parser.Command())}, eExit, sMessage);
        return static_cast<int>(eExit);
    };
    try {
        g_EnterGuard(Arguments);
        Options.Arguments = Arguments;
        if (g_IsShellAsking(Arguments)) {
            g_AnswerShell(Table, Options, Arguments);
            return static_cast<int>(EExit::kDone);
        }
        return static_cast<int>(g_Run(Table, Parser, Options, Arguments, bJson));
    } catch (const CRefusal& rRefusal) {
        const int nExit = Fail(rRefusal.Exit(), rRefusal.what());
        g_PrintRemark(std::string("Try '") + rTool.pszName + " --help'.");
        return nExit;
    } catch (const CFailure& rFailure) {
        return Fail(rFailure.Exit(), rFailure.what());
    } catch (const std::exception& rError) { return Fail(EExit::kFailed, rError.what()); }
}

}  // namespace

int g_RunTool(const CToolRow& rTool, int nArguments, char** ppszArguments) {
    return g_OwnExit(g_RunLine(rTool, g_StartConsole(nArguments, ppszArguments)));
}

}  // namespace vxttools
