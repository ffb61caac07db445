// A tool's commands on the command line. Parsing, help, shell completion and the manual page all come from their rows.
#pragma once

#include <span>
#include <string>

#include "common/command.h"

namespace vxttools {

struct CToolRow {
    const char* pszName;
    bool bLoadsLibrary;  ///< --library is offered
    /// In the order in which they are listed, the tool's own row first, a command before those below it.
    std::span<const CCommand* const> Commands;
};

/// Parses, runs the command and reports its failure. Returns the exit code.
int g_RunTool(const CToolRow& rTool, int nArguments, char** ppszArguments);

}  // namespace vxttools
