// One command table per tool: parsing, help, shell completion and the manual page all come from it.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <map>
#include <string>

#include "common/exit_code.h"
#include "common/output.h"

namespace vxttools {

/// Options that every command understands, before or after the command's name.
struct CGlobalOptions {
    bool bLog = false, bYes = false, bDryRun = false;
    std::string sMachine, sFault, sLibrary;
};

class CCommandLine {
public:
    using CAction = std::function<EExit()>;

    /// `pszExamples`: one command line each, without the tool's name in front of remarks ("  vxtctl devices   # ...").
    CCommandLine(const char* pszTool, const char* pszDescription, const char* pszExamples, CAction DefaultAction);

    CLI::App& Root() { return m_Root; }
    /// Adds a command below `rParent`; its options are added to what is returned.
    CLI::App& Add(CLI::App& rParent, const char* pszName, const char* pszDescription, const char* pszExamples,
                  CAction Action);
    void AddLibraryOption();   ///< --library
    void AddWritingOptions();  ///< --yes, --dry-run
    const CGlobalOptions& Options() const { return m_Options; }
    COutput& Output() { return m_Output; }
    CDocument NewDocument(const std::string& sCommand) const { return {m_Root.get_name(), sCommand}; }

    /// Parses, runs the command and reports its failure. Returns the exit code.
    int Run(int nArguments, char** ppszArguments);

private:
    void _AddOwnCommands();
    EExit _Run(std::vector<std::string> Arguments);

    CLI::App m_Root;
    std::map<const CLI::App*, CAction> m_Actions;
    CGlobalOptions m_Options;
    COutput m_Output;
    bool m_bJson = false, m_bCsv = false, m_bQuiet = false;
    std::string m_sColor = "auto", m_sOutput;
};

/// A bash completion script for the command table.
std::string g_BashCompletion(const CLI::App& rRoot);
/// A manual page (section 1, man macros) for the command table.
std::string g_ManPage(const CLI::App& rRoot);

}  // namespace vxttools
