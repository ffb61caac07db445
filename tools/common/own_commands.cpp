#include "common/own_commands.h"

#include "common/man_page.h"
#include "common/shell_scripts.h"

namespace vxttools {
namespace {

struct CShell {
    std::optional<std::string> oShell;
};
constexpr COption<CShell> kShell[] = {{"SHELL", "bash|zsh|fish", "The shell", &CShell::oShell, true}};

EExit g_PrintCompletion(CTool& rTool, const CShell& rShell) {
    rTool.Output().EmitRaw(g_CompletionScript(*rShell.oShell, rTool.Table().sTool));
    return EExit::kDone;
}

EExit g_PrintManPage(CTool& rTool) {
    rTool.Output().EmitRaw(g_ManPage(rTool.Table()));
    return EExit::kDone;
}

}  // namespace

const CCommand kCompletion{"completion", "Print a completion script for a shell", nullptr,
                           g_NewCall<CShell, kShell, g_PrintCompletion>};
const CCommand kManPage{"man", "Print the manual page (man -l FILE shows it)", nullptr, g_NewCall<g_PrintManPage>};

}  // namespace vxttools
