#include "profile_records.h"

#include <algorithm>

#include "common/exit_code.h"

namespace vxtctl {

using vxttools::CFailure;
using vxttools::CJson;
using vxttools::EExit;

namespace {

CJson g_ToJson(const CAppliedProfile& rApplied) {
    CJson Before = CJson::Array();
    for (const auto& [sId, dValue] : rApplied.Before) Before.Push({{"id", sId}, {"value", dValue}});
    return {{"profile", rApplied.sProfile},
            {"begun", rApplied.sBegun},
            {"finished", rApplied.bFinished},
            {"before", Before}};
}

bool g_IsRecord(const CJson& rRecord) {
    for (const char* const pszText : {"profile", "begun"})
        if (!rRecord.Has(pszText) || !rRecord[pszText].IsText()) return false;
    if (!rRecord.Has("finished") || !rRecord["finished"].IsFlag()) return false;
    return rRecord.Has("before") && rRecord["before"].IsArray() &&
           std::ranges::all_of(rRecord["before"].Items(), [](const CJson& r) {
               return r.Has("id") && r["id"].IsText() && r.Has("value") && r["value"].Number();
           });
}

constexpr CRecordKind kKind{
    "applied-profiles", "applied",
    "profiles that it applied; nothing was done. Without the file it begins anew, and no profile "
    "can be rolled back",
    1, g_IsRecord};

}  // namespace

CProfileRecords::CProfileRecords(const CHostLibrary& rLibrary) : CUserRecords(rLibrary, kKind) {}

std::optional<CAppliedProfile> CProfileRecords::Last() const {
    const std::vector<CJson> Records = OfThisPc();
    if (Records.empty()) return std::nullopt;
    const CJson& rRecord = Records.back();
    CAppliedProfile Applied{rRecord["profile"].Text(), rRecord["begun"].Text(), rRecord["finished"].Flag(), {}};
    for (const CJson& rSetting : rRecord["before"].Items())
        Applied.Before.push_back({rSetting["id"].Text(), *rSetting["value"].Number()});
    return Applied;
}

void CProfileRecords::SetLast(const std::optional<CAppliedProfile>& rApplied) {
    Replace(rApplied ? std::vector{g_ToJson(*rApplied)} : std::vector<CJson>());
}

bool CProfileRecords::TrySetLast(const std::optional<CAppliedProfile>& rApplied) {
    try {
        SetLast(rApplied);
        return true;
    } catch (const CFailure& rFailure) {
        vxttools::g_PrintRemark(rFailure.what());
        return false;
    }
}

void CProfileRecords::CheckIdle() {
    if (IsBusyElsewhere())
        throw CFailure(EExit::kFailed, "another vxtctl applies a profile at this moment; nothing was written");
}

std::string CProfileRecords::LeftBehind() {
    std::optional<CAppliedProfile> oLast = Last();
    if (!oLast || oLast->bFinished || IsBusyElsewhere()) return "";
    oLast = Last();  // the one that was busy may have ended meanwhile
    if (!oLast || oLast->bFinished) return "";
    return oLast->sProfile + " was applied " + oLast->sBegun +
           " and neither kept nor put back; 'vxtctl profile rollback' brings back what was in force before";
}

void g_RemarkOnLeftProfile(const CHostLibrary& rLibrary, const vxttools::COutput& rOutput) {
    if (const std::string sLeft = CProfileRecords(rLibrary).LeftBehind(); !sLeft.empty()) rOutput.Note(sLeft);
}

}  // namespace vxtctl
