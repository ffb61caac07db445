#include "hold_records.h"

#include <algorithm>
#include <limits>

namespace vxtctl {

using vxttools::CJson;

namespace {

CJson g_ToJson(const CHoldRecord& rRecord) {
    return {{"fan", rRecord.sFan},
            {"chip", rRecord.sChip},
            {"begun", rRecord.sBegun},
            {"control", rRecord.uControl},
            {"duty", rRecord.oDuty}};
}

/// A whole number below the limit; nothing otherwise.
std::optional<uint32_t> g_Whole(const CJson& rValue, double dMost) {
    const std::optional<double> oNumber = rValue.Number();
    if (!oNumber || !(*oNumber >= 0 && *oNumber <= dMost) || *oNumber != static_cast<uint32_t>(*oNumber))
        return std::nullopt;
    return static_cast<uint32_t>(*oNumber);
}

/// Nothing where it is no record.
std::optional<CHoldRecord> g_FromJson(const CJson& rValue) {
    CHoldRecord Record;
    for (const auto& [pszKey, pText] :
         {std::pair("fan", &Record.sFan), std::pair("chip", &Record.sChip), std::pair("begun", &Record.sBegun)}) {
        if (!rValue.Has(pszKey) || !rValue[pszKey].IsText()) return std::nullopt;
        *pText = rValue[pszKey].Text();
    }
    if (!rValue.Has("control") || !rValue.Has("duty")) return std::nullopt;
    const auto oControl = g_Whole(rValue["control"], std::numeric_limits<uint32_t>::max());
    Record.oDuty = g_Whole(rValue["duty"], 100);
    if (!oControl || (!Record.oDuty && !rValue["duty"].IsNull())) return std::nullopt;
    Record.uControl = *oControl;
    return Record;
}

constexpr CRecordKind kKind{
    "held-fans", "holds",
    "fans that it holds; nothing was done. Without the file it begins anew, and fans stay as they "
    "are",
    1, [](const CJson& rRecord) { return g_FromJson(rRecord).has_value(); }};

}  // namespace

CHoldRecords::CHoldRecords(const CHostLibrary& rLibrary) : CUserRecords(rLibrary, kKind) {}

std::vector<CHoldRecord> CHoldRecords::Left() const {
    std::vector<CHoldRecord> Records;
    for (const CJson& rRecord : OfThisPc()) Records.push_back(*g_FromJson(rRecord));
    return Records;
}

std::optional<CHoldRecord> CHoldRecords::Find(const std::string& sFan) const {
    for (const CHoldRecord& rRecord : Left())
        if (rRecord.sFan == sFan) return rRecord;
    return std::nullopt;
}

std::string CHoldRecords::LeftBehind(const std::string& sFan) const {
    const std::optional<CHoldRecord> oRecord = Find(sFan);
    return sFan.substr(1) + ": a hold" + (oRecord ? " of " + oRecord->sBegun : "") +
           " ended without putting back what was in force; 'vxtctl fan restore' does";
}

void CHoldRecords::Add(const std::vector<CHoldRecord>& rRecords) {
    std::vector<CJson> Records = OfThisPc();
    for (const CHoldRecord& rRecord : rRecords) Records.push_back(g_ToJson(rRecord));
    Replace(std::move(Records));
}

void CHoldRecords::Remove(const std::vector<std::string>& rFans) {
    std::vector<CJson> Records = OfThisPc();
    const auto IsMeant = [&](const CJson& r) { return std::ranges::count(rFans, r["fan"].Text()) != 0; };
    if (std::erase_if(Records, IsMeant) != 0) Replace(std::move(Records));
}

}  // namespace vxtctl
