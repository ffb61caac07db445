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
    std::string sOwner;  ///< whose setting, "core 0"; after a failure the rest of this owner's changes is skipped
    std::string sLabel;
    std::string sUnit;
    double dWanted;
    double dTolerance;   ///< a read-back this close is the wanted value
    std::string sLegal;  ///< legal values in words, as far as they are known
    CLimits Limits;
    std::function<std::optional<double>()> Read;  ///< nothing: no reading
    std::function<bool()> Write;
    std::function<std::string(double)> Meaning = {};  ///< what a number stands for, shown beside it; empty: nothing
    std::string sDoubt = "is not in this processor's table or beyond its limits";  ///< why another value was taken
};

class CChangePlan {
public:
    void Add(CChange Change) { m_Changes.push_back(std::move(Change)); }
    bool IsEmpty() const { return m_Changes.empty(); }

    /// Carries the plan out in order. With --dry-run nothing is written; without a terminal to ask on, --yes is needed.
    /// The answer has the array "changes" and its table. Returns how the command ends.
    EExit Run(CTool& rTool);

private:
    enum class EOutcome { kPlanned, kTaken, kNotTaken, kFailed, kSkipped };
    struct CResult {
        std::optional<double> oBefore, oAfter;
        EOutcome eOutcome = EOutcome::kPlanned;
        std::string sReason;
    };

    EExit _Run(CDocument& rDocument, const CTool& rTool);
    static void _Apply(const CChange& rChange, CResult& rResult);
    std::string _PlanText(const std::vector<CResult>& rResults) const;
    void _Report(CDocument& rDocument, const std::vector<CResult>& rResults, bool bDryRun) const;

    std::vector<CChange> m_Changes;
};

}  // namespace vxttools
