// What a search for the highest clock is going to do and what it came to, for people and for programs.
#pragma once

#include "common/document.h"
#include "tune_machine.h"

namespace vxtctl {

/// What has to be known before the user says yes.
struct CTunePlan {
    CClockState Now;
    std::string sWatched;  ///< temperatures, in words; empty: there is none
    std::string sRecord;   ///< file; empty: nothing is kept
    std::string sResumed;  ///< where the search began that this goes on with; empty: a new one
    bool bPutBack;
};

/// The plan as a table, and as JSON.
vxttools::CTextTable g_PlanTable(const CTunePlan& rPlan, const CTuneMachine& rMachine);
vxttools::CJson g_ToJson(const CTunePlan& rPlan, const CTuneMachine& rMachine);

enum class ETuneView { kPlanned, kSearched, kRemembered, kRunning };

/// A search as it is shown.
struct CTuneResult {
    ETuneView eView;                         ///< kRunning: by another process, at this moment
    const CTuneRecord* pRecord;              ///< null: nothing is known
    std::optional<int32_t> onLast;           ///< vxtapi::eTuneStatus of the library's own note; nothing: not asked
    std::optional<CClockState> oInForce;     ///< nothing: it could not be read
    std::optional<bool> oPutBack = {};       ///< nothing: that was not tried
    std::string sPutBackProblem = {};        ///< what is not as it was before
    std::optional<std::string> oChart = {};  ///< file that the picture is in
    bool bIsKept = true;                     ///< the record outlives the process
};

/// How it went, in a sentence.
std::string g_TuneMessage(const CTuneResult& rResult);
/// Everything but the plan: members of the answer, tables.
void g_AddTune(vxttools::CDocument& rDocument, const CTuneResult& rResult);

}  // namespace vxtctl
