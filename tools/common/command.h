// One command of a tool as data: a row with its path, texts and options, and the work behind it.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "common/exit_code.h"
#include "common/output.h"

namespace vxttools {

/// What every command understands, before or after its name.
struct CGlobalOptions {
    bool bJson = false, bCsv = false, bQuiet = false, bLog = false, bYes = false, bDryRun = false;
    std::optional<std::string> oOutput, oColor, oMachine, oState, oFault, oLibrary;
    std::vector<std::string> Arguments = {};  ///< the whole line, for a process that is to do the same
};

/// Tells the library, which looks when it is loaded, on which PC to run and what to let go wrong there.
void g_ChooseMachine(const CGlobalOptions& rOptions);

struct CCommandTable;

/// What a running command works with: the options for all, and where its answer goes.
class CTool {
public:
    CTool(const CCommandTable& rTable, const std::string& sCommand, const CGlobalOptions& rOptions);

    const CCommandTable& Table() const { return m_rTable; }
    const CGlobalOptions& Options() const { return m_rOptions; }
    CDocument NewDocument() const;
    const COutput& Output() const { return m_Output; }
    COutput& Output() { return m_Output; }
    /// The answer; returns how the command ends.
    EExit Emit(const CDocument& rDocument, EExit eExit = EExit::kDone);

private:
    const CCommandTable& m_rTable;
    std::string m_sCommand;
    const CGlobalOptions& m_rOptions;
    COutput m_Output;
};

/// A word that shell completion offers.
struct CCandidate {
    std::string sWord;  ///< with "=" at its end: more is to follow
    std::string sMeaning = {};
};
/// Words that an option's value may be on this machine, given how it begins. Only reads; the options that stand on the
/// line so far hold. What does not begin like that is left out by the caller, and a failure means that nothing is known.
using CCompleteValue = std::vector<CCandidate> (*)(const CTool& rTool, const std::string& sBegun);

/// An option and the member of a command's record that takes its value.
template <class TWanted> struct COption {
    const char* pszName;  ///< "--core", "-y,--yes"; without a dash: an argument by its place
    const char* pszType;  ///< of its value, as help shows it; lower case with bars: the words it may be. "": not shown
    const char* pszMeaning;
    std::variant<bool TWanted::*, std::optional<std::string> TWanted::*, std::optional<double> TWanted::*,
                 std::optional<uint32_t> TWanted::*, std::vector<std::string> TWanted::*>
        Target;
    bool bRequired = false;
    const char* pszExcludes = nullptr;   ///< an option before this one
    CCompleteValue pComplete = nullptr;  ///< null: nothing is known of the value beyond its type
};

/// The same, with the place itself.
struct CBoundOption {
    const char* pszName;
    const char* pszType;
    const char* pszMeaning;
    std::variant<bool*, std::optional<std::string>*, std::optional<double>*, std::optional<uint32_t>*,
                 std::vector<std::string>*>
        Target;
    bool bRequired;
    const char* pszExcludes;
    CCompleteValue pComplete = nullptr;

    bool TakesValue() const { return !std::holds_alternative<bool*>(Target); }
    bool IsArgument() const { return pszName[0] != '-'; }
};

template <class TWanted>
void g_Bind(std::vector<CBoundOption>& rBound, TWanted& rWanted, const COption<TWanted>& rOption) {
    std::visit(
        [&](auto pMember) {
            rBound.push_back({rOption.pszName, rOption.pszType, rOption.pszMeaning, &(rWanted.*pMember),
                              rOption.bRequired, rOption.pszExcludes, rOption.pComplete});
        },
        rOption.Target);
}

/// A command with what its options asked for, before and after it was parsed.
class CCall {
public:
    virtual ~CCall() = default;
    virtual std::vector<CBoundOption> Options() = 0;
    virtual EExit Run(CTool& rTool) const = 0;
};

struct CCommand {
    const char* pszPath;      ///< behind the tool's name, "cpu set"; "": the tool without a command
    const char* pszSummary;   ///< one line
    const char* pszExamples;  ///< one a line, indented by two blanks, remarks behind two more
    std::unique_ptr<CCall> (*pNewCall)();
};

/// For the last column of a row: a command with options...
template <class TWanted, const auto& aOptions, EExit (*pRun)(CTool&, const TWanted&)>
std::unique_ptr<CCall> g_NewCall() {
    class CThisCall final : public CCall {
        std::vector<CBoundOption> Options() override {
            std::vector<CBoundOption> Bound;
            for (const COption<TWanted>& rOption : aOptions) g_Bind(Bound, m_Wanted, rOption);
            return Bound;
        }
        EExit Run(CTool& rTool) const override { return pRun(rTool, m_Wanted); }
        TWanted m_Wanted;
    };
    return std::make_unique<CThisCall>();
}

/// ... and one without.
template <EExit (*pRun)(CTool&)> std::unique_ptr<CCall> g_NewCall() {
    class CThisCall final : public CCall {
        std::vector<CBoundOption> Options() override { return {}; }
        EExit Run(CTool& rTool) const override { return pRun(rTool); }
    };
    return std::make_unique<CThisCall>();
}

}  // namespace vxttools
