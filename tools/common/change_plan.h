// Everything that writes to hardware goes this way: show the plan, ask, write, read back, report what was taken.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "common/command.h"

namespace vxttools {

/// One setting to change.
struct CChange {
    std::string sId;     ///< stable path, "/cpu/0/multiplier"
    std::string sOwner;  ///< whose setting, "core 0": an owner's changes are made whole or, as far as possible, undone
    std::string sLabel;
    std::string sUnit;
    double dWanted;
    double dTolerance;               ///< a read-back this close is the wanted value
    std::string sLegal;              ///< legal values in words, as far as they are known
    std::vector<double> Legal = {};  ///< the same as a list, ascending; empty: there is none
    CLimits Limits = {};
    std::function<std::optional<double>()> Read = {};  ///< nothing: no reading; empty: nobody can read it
    std::function<bool()> Write = {};
    std::function<std::string()> Verify = {};  ///< why a value that was taken cannot stay; an empty text: it can
    std::function<bool(double)> Restore = {};  ///< writes an earlier reading again; empty: there is no way back
    /// In the place of Restore where more was in force than a reading tells. True: it is again.
    std::function<bool()> PutBack = {};
    std::function<std::string(double)> Text = {};     ///< of a number that has words instead, "on"; empty: digits
    std::function<std::string(double)> Meaning = {};  ///< what a number stands for, shown beside it; empty: nothing
    std::string sNote = {};                           ///< what else has to be known of it, "in force after a reset"
    /// Why another value was taken; of what cannot be read: why nothing was.
    std::string sDoubt = "is not in this processor's table or beyond its limits";
};

/// Whether a reading is a value, as close as the hardware keeps it.
bool g_ReadsAs(const std::optional<double>& roReading, double dValue, double dTolerance);

/// Some processors report the end of a transition, others only begin it, and a firmware may take its time: reads until
/// the value is there, for a while. Returns the last reading.
std::optional<double> g_ReadUntil(const std::function<std::optional<double>()>& Read, double dExpected,
                                  double dTolerance);

/// Changes that are made as one, whoever their owners are.
struct CJointWrite {
    /// Before the first write, and only then. What it throws ends the command with nothing written.
    std::function<void()> Begin = {};
    /// All of them, in the place of their own. Returns why the rest was left; an empty text: nothing was.
    std::function<std::string()> Write;
    /// Why values that were all taken cannot stay; an empty text: they can.
    std::function<std::string()> Verify = {};
    /// The same, when nobody says that they are to stay.
    std::function<std::string()> Confirm = {};
    /// Something went wrong: whether all are undone, from the last to the first. Empty: what was taken stays.
    std::function<bool()> WantsUndone = {};
};

class CChangePlan {
public:
    /// What follows the changes before the answer goes out, which it may add to. Told how they went, says how the command
    /// ends. Comes after a dry run and after changes that went wrong, too.
    using CThen = std::function<EExit(CDocument& rDocument, EExit eExit)>;

    CChange& Add(CChange Change) { return m_Changes.emplace_back(std::move(Change)); }
    bool IsEmpty() const { return m_Changes.empty(); }

    /// Carries the plan out in order. With --dry-run nothing is written; without a terminal to ask on, --yes is needed.
    /// When one of an owner's changes goes wrong, that one and those before it are undone and the rest is skipped. A
    /// signal lets the owner at hand finish and skips the others.
    /// The answer has the array "changes" and its table. Returns how the command ends.
    EExit Run(CTool& rTool, const CThen& rThen = {}) { return _Run(rTool, rThen, nullptr); }
    /// The same for changes that are made as one. A signal undoes them.
    EExit RunJointly(CTool& rTool, const CJointWrite& rWrite, const CThen& rThen) {
        return _Run(rTool, rThen, &rWrite);
    }

private:
    enum class EOutcome { kPlanned, kTaken, kNotTaken, kFailed, kSkipped, kUndone };
    struct CResult {
        std::optional<double> oBefore, oAfter;
        EOutcome eOutcome = EOutcome::kPlanned;
        std::string sReason;
    };

    EExit _Run(CTool& rTool, const CThen& rThen, const CJointWrite* pJoint);
    void _Ask(const CTool& rTool) const;
    EExit _ApplyOwners();
    EExit _ApplyJointly(const CJointWrite& rWrite);
    /// One owner's changes, from the first to the one before the last. Returns how they went.
    EExit _ApplyOwner(size_t uFirst, size_t uEnd);
    static void _Judge(const CChange& rChange, CResult& rResult, bool bAccepted);
    static void _Undo(const CChange& rChange, CResult& rResult, const std::string& sWhy);
    /// Those before the end, from the last to the first. Returns whether the hardware has again what it had.
    bool _UndoAll(size_t uFirst, size_t uEnd, const std::string& sWhy);
    void _TellReason(size_t uChange) const;
    size_t _EndOfOwner(size_t uFirst) const;
    void _TellInterruption() const;
    std::string _LegalText(size_t uChange) const;  ///< told once for all that share it
    std::string _PlanText() const;
    void _Report(CDocument& rDocument, bool bDryRun) const;

    std::vector<CChange> m_Changes;
    std::vector<CResult> m_Results;  ///< of each change, while the plan runs
};

}  // namespace vxttools
