// What can stand next on a command line, read off the commands' rows and, where a row says so, off the machine.
#pragma once

#include "common/command_table.h"

namespace vxttools {

struct CCompletion {
    std::vector<CCandidate> Candidates = {};  ///< begin like the word, in any letter case
    bool bFiles = false;                      ///< files, too
    std::string sPrefix = {};                 ///< "--output=" where the value stands behind it in one word
};

/// `rWords`: behind the tool's name, the last one is being typed. What the others say is taken over into `rOptions`,
/// which have to be those of the table. Writes nothing, shows nothing, never fails.
CCompletion g_Complete(const CCommandTable& rTable, CGlobalOptions& rOptions, const std::vector<std::string>& rWords);

/// The command line with which the completion scripts ask, "complete --shell SHELL -- LINE [BREAKS]", and the answer:
/// a candidate a line, its meaning behind a tab; lines with a colon in front tell what else there is.
bool g_IsShellAsking(const std::vector<std::string>& rArguments);
void g_AnswerShell(const CCommandTable& rTable, CGlobalOptions& rOptions, const std::vector<std::string>& rArguments);

/// For `--machine`: those built into simulated builds.
std::vector<CCandidate> g_MachineCandidates(const CTool& rTool, const std::string& sBegun);

}  // namespace vxttools
