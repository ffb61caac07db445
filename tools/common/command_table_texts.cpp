// Shell completion and the manual page, both read off the command table.
#include "common/command_line.h"

namespace vxttools {
namespace {

std::vector<const CLI::App*> _Commands(const CLI::App& rApp) {
    return rApp.get_subcommands([](const CLI::App*) { return true; });
}
std::vector<const CLI::Option*> _Options(const CLI::App& rApp) {
    return rApp.get_options([](const CLI::Option*) { return true; });
}

/// "-o", "--output" of an option; nothing for a positional.
std::vector<std::string> _Flags(const CLI::Option& rOption) {
    std::vector<std::string> Flags;
    for (const std::string& rsName : rOption.get_snames()) Flags.push_back("-" + rsName);
    for (const std::string& rsName : rOption.get_lnames()) Flags.push_back("--" + rsName);
    return Flags;
}

bool _TakesValue(const CLI::Option& rOption) { return rOption.get_expected_max() != 0; }

/// Lower-case words between bars are choices ("auto|always|never"), upper-case ones name a kind of value.
std::string _Choices(const CLI::Option& rOption) {
    std::string sType = _TakesValue(rOption) ? rOption.get_type_name() : "";
    if (sType.empty() || !std::islower(static_cast<unsigned char>(sType[0]))) return "";
    std::replace(sType.begin(), sType.end(), '|', ' ');
    return sType;
}

std::string _Joined(const std::vector<std::string>& rWords, const char* pszBetween) {
    std::string sText;
    for (const std::string& rsWord : rWords) sText += (sText.empty() ? "" : pszBetween) + rsWord;
    return sText;
}

void _CompleteCommand(const CLI::App& rApp, const std::string& sPath, std::string& rsPaths, std::string& rsWords,
                      std::string& rsValues) {
    std::vector<std::string> Words;
    for (const CLI::Option* pOption : _Options(rApp)) {
        const std::vector<std::string> Flags = _Flags(*pOption);
        Words.insert(Words.end(), Flags.begin(), Flags.end());
        const std::string sChoices = _Choices(*pOption);
        if (Flags.empty() && !sChoices.empty()) Words.push_back(sChoices);
        if (Flags.empty() || !_TakesValue(*pOption)) continue;
        const std::string sValues = sChoices.empty() ? "-f" : "-W \"" + sChoices + "\"";
        rsValues +=
            "        " + _Joined(Flags, "|") + ") COMPREPLY=($(compgen " + sValues + " -- \"$current\")); return ;;\n";
    }
    for (const CLI::App* pCommand : _Commands(rApp)) {
        Words.push_back(pCommand->get_name());
        const std::string sInner = sPath + " " + pCommand->get_name();
        rsPaths += "        \"" + sInner + "\") command=\"" + sInner + "\" ;;\n";
        _CompleteCommand(*pCommand, sInner, rsPaths, rsWords, rsValues);
    }
    rsWords += "        \"" + sPath + "\") words=\"" + _Joined(Words, " ") + "\" ;;\n";
}

/// Text for the man macros: no control lines by accident, hyphens that can be copied.
std::string _Roff(const std::string& sText) {
    std::string sRoff;
    bool bLineStart = true;
    for (const char c : sText) {
        if (bLineStart && (c == '.' || c == '\'')) sRoff += "\\&";
        sRoff += c == '\\' ? "\\e" : c == '-' ? "\\-" : std::string(1, c);
        bLineStart = c == '\n';
    }
    return sRoff;
}

std::string _Usage(const CLI::App& rApp, const std::string& sPath) {
    std::string sUsage = "\\fB" + _Roff(sPath) + "\\fR";
    for (const CLI::Option* pOption : _Options(rApp))
        if (_Flags(*pOption).empty()) {
            const std::string sName = "\\fI" + pOption->get_name(true) + "\\fR";
            sUsage += " " + (pOption->get_required() ? sName : "[" + sName + "]");
        }
    return sUsage;
}

void _AppendOptions(const CLI::App& rApp, std::string& rsPage) {
    for (const CLI::Option* pOption : _Options(rApp)) {
        const std::vector<std::string> Flags = _Flags(*pOption);
        rsPage += ".TP\n";
        if (Flags.empty())
            rsPage += "\\fI" + _Roff(pOption->get_name(true)) + "\\fR\n";
        else
            rsPage += "\\fB" + _Roff(_Joined(Flags, ", ")) + "\\fR" +
                      (_TakesValue(*pOption) ? " \\fI" + _Roff(pOption->get_type_name()) + "\\fR" : "") + "\n";
        rsPage += _Roff(pOption->get_description()) + "\n";
    }
}

void _AppendExamples(const CLI::App& rApp, std::string& rsPage) {
    if (!rApp.get_footer().empty()) rsPage += ".PP\n.nf\n" + _Roff(rApp.get_footer()) + "\n.fi\n";
}

void _AppendCommands(const CLI::App& rApp, const std::string& sPath, std::string& rsPage) {
    for (const CLI::App* pCommand : _Commands(rApp)) {
        const std::string sInner = sPath + " " + pCommand->get_name();
        rsPage += ".SS " + _Usage(*pCommand, sInner) + "\n" + _Roff(pCommand->get_description()) + ".\n";
        _AppendExamples(*pCommand, rsPage);
        _AppendOptions(*pCommand, rsPage);
        _AppendCommands(*pCommand, sInner, rsPage);
    }
}

}  // namespace

std::string g_BashCompletion(const CLI::App& rRoot) {
    std::string sPaths, sWords, sValues;
    _CompleteCommand(rRoot, "", sPaths, sWords, sValues);
    const std::string sTool = rRoot.get_name();
    // Global options are offered behind every command.
    return "_" + sTool +
           "() {\n"
           "    local current=\"${COMP_WORDS[COMP_CWORD]}\" previous=\"${COMP_WORDS[COMP_CWORD-1]}\" command=\"\" "
           "words word\n"
           "    for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
           "        case \"$command $word\" in\n" +
           sPaths +
           "        esac\n"
           "    done\n"
           "    case \"$previous\" in\n" +
           sValues +
           "    esac\n"
           "    case \"$command\" in\n" +
           sWords +
           "    esac\n"
           "    [[ $current == -* && -n $command ]] && words+=\" " +
           _Joined(
               [&] {
                   std::vector<std::string> Words;
                   for (const CLI::Option* pOption : _Options(rRoot))
                       for (const std::string& rsFlag : _Flags(*pOption)) Words.push_back(rsFlag);
                   return Words;
               }(),
               " ") +
           "\"\n"
           "    COMPREPLY=($(compgen -W \"$words\" -- \"$current\"))\n"
           "}\n"
           "complete -o filenames -F _" +
           sTool + " " + sTool + "\n";
}

std::string g_ManPage(const CLI::App& rRoot) {
    std::string sTitle = rRoot.get_name();
    std::transform(sTitle.begin(), sTitle.end(), sTitle.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    std::string sPage = ".TH " + sTitle + " 1 \"\" \"VXT " VXT_VERSION "\"\n.SH NAME\n" + rRoot.get_name() + " \\- " +
                        _Roff(rRoot.get_description()) + "\n.SH SYNOPSIS\n" + _Usage(rRoot, rRoot.get_name()) +
                        " [\\fIOPTIONS\\fR] [\\fICOMMAND\\fR]\n.SH EXAMPLES\n";
    _AppendExamples(rRoot, sPage);
    sPage += ".SH OPTIONS\nUnderstood by every command, before or behind its name.\n";
    _AppendOptions(rRoot, sPage);
    sPage += ".SH COMMANDS\n";
    _AppendCommands(rRoot, rRoot.get_name(), sPage);
    sPage += ".SH EXIT STATUS\n";
    for (const auto& [eExit, pszMeaning] : kExitMeanings)
        sPage += ".TP\n\\fB" + std::to_string(static_cast<int>(eExit)) + "\\fR\n" + pszMeaning + "\n";
    sPage +=
        ".SH ENVIRONMENT\n.TP\n\\fBNO_COLOR\\fR\nWhen set to anything: no colour unless asked for by "
        "\\fB\\-\\-color\\fR.\n";
    return sPage;
}

}  // namespace vxttools
