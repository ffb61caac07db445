#include "common/command_line.h"

#include <algorithm>
#include <cstdio>

#include "common/console.h"

namespace vxttools {
namespace {

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

}  // namespace

CCommandLine::CCommandLine(const char* pszTool, const char* pszDescription, const char* pszExamples,
                           CAction DefaultAction)
    : m_Root(pszDescription, pszTool) {
    m_Root.formatter(std::make_shared<CHelpFormatter>());
    m_Root.get_formatter()->column_width(28);
    m_Root.get_formatter()->label("Subcommands", "Commands");
    m_Root.get_formatter()->label("SUBCOMMAND", "COMMAND");
    m_Root.footer(pszExamples);
    m_Root.set_help_flag("-h,--help", "Show help, for a command too");
    m_Root.set_version_flag("--version", std::string(pszTool) + " " VXT_VERSION, "Show the version");
    m_Root.fallthrough();  // global options may stand behind the command
    m_Root.require_subcommand(0, 1);
    m_Actions[&m_Root] = std::move(DefaultAction);

    CLI::Option* pJson = m_Root.add_flag("--json", m_bJson, "Answer as JSON");
    m_Root.add_flag("--csv", m_bCsv, "Answer as a CSV table")->excludes(pJson);
    m_Root.add_flag("-q,--quiet", m_bQuiet, "No remarks on stderr, errors only");
    m_Root.add_option("-o,--output", m_sOutput, "Write the answer to FILE")->type_name("FILE");
    m_Root.add_option("--color", m_sColor, "Colour in text; automatic on a terminal unless NO_COLOR is set")
        ->type_name("auto|always|never")
        ->check(CLI::IsMember({"auto", "always", "never"}).description(""));
    m_Root.add_option("--machine", m_Options.sMachine, "Simulated builds: the PC to run on, by name or machine file")
        ->type_name("NAME|FILE");
    m_Root
        .add_option("--fault", m_Options.sFault, "Simulated builds: inject faults, e.g. seed=7,rate=5,kinds=fail+ones")
        ->type_name("PLAN");
    m_Root.add_flag("--log", m_Options.bLog, "Write the library's log below ./Logs");
}

CLI::App& CCommandLine::Add(CLI::App& rParent, const char* pszName, const char* pszDescription, const char* pszExamples,
                            CAction Action) {
    CLI::App& rCommand = *rParent.add_subcommand(pszName, pszDescription);
    if (pszExamples) rCommand.footer(pszExamples);
    rCommand.require_subcommand(0, 1);
    m_Actions[&rCommand] = std::move(Action);
    return rCommand;
}

void CCommandLine::AddLibraryOption() {
    m_Root.add_option("--library", m_Options.sLibrary, "Load this library instead of the one beside the tool")
        ->type_name("FILE");
}

void CCommandLine::AddWritingOptions() {
    m_Root.add_flag("-y,--yes", m_Options.bYes, "Write to the hardware without asking");
    m_Root.add_flag("--dry-run", m_Options.bDryRun, "Show what would be written, write nothing");
}

void CCommandLine::_AddOwnCommands() {
    CLI::App& rCompletion = Add(m_Root, "completion", "Print a shell completion script", nullptr, [this] {
        m_Output.EmitRaw(g_BashCompletion(m_Root));
        return EExit::kDone;
    });
    rCompletion.add_option("SHELL", "The shell")
        ->required()
        ->type_name("bash")
        ->check(CLI::IsMember({"bash"}).description(""));
    Add(m_Root, "man", "Print the manual page (man -l FILE shows it)", nullptr, [this] {
        m_Output.EmitRaw(g_ManPage(m_Root));
        return EExit::kDone;
    });
}

EExit CCommandLine::_Run(std::vector<std::string> Arguments) {
    _AddOwnCommands();                // behind the tool's
    std::ranges::reverse(Arguments);  // the parser takes them from the back
    m_Root.parse(std::move(Arguments));
    m_Output.Open(m_bJson ? EFormat::kJson : m_bCsv ? EFormat::kCsv : EFormat::kText, m_sColor, m_sOutput, m_bQuiet);
    const CLI::App* pCommand = &m_Root;
    while (!pCommand->get_subcommands().empty()) pCommand = pCommand->get_subcommands().front();
    // The library looks at these when it is loaded.
    if (!m_Options.sMachine.empty()) g_SetEnvironment("VXT_MACHINE", m_Options.sMachine);
    if (!m_Options.sFault.empty()) g_SetEnvironment("VXT_FAULT", m_Options.sFault);
    return m_Actions.at(pCommand)();
}

int CCommandLine::Run(int nArguments, char** ppszArguments) {
    const auto Fail = [this](EExit eExit, const std::string& sMessage) {
        std::fputs((m_Root.get_name() + ": " + sMessage + "\n").c_str(), stderr);
        return static_cast<int>(eExit);
    };
    try {
        return static_cast<int>(_Run(g_StartConsole(nArguments, ppszArguments)));
    } catch (const CLI::CallForHelp&) {
        std::fputs(m_Root.help().c_str(), stdout);
        return static_cast<int>(EExit::kDone);
    } catch (const CLI::CallForVersion& rVersion) {
        std::fputs((std::string(rVersion.what()) + "\n").c_str(), stdout);
        return static_cast<int>(EExit::kDone);
    } catch (const CLI::ParseError& rError) {
        return Fail(EExit::kUsage, std::string(rError.what()) + "\nTry '" + m_Root.get_name() + " --help'.");
    } catch (const CFailure& rFailure) {
        return Fail(rFailure.Exit(), rFailure.what());
    } catch (const std::exception& rError) { return Fail(EExit::kFailed, rError.what()); }
}

}  // namespace vxttools
