#include "common/facts.h"

#include <cmath>

#include "common/text.h"

namespace vxttools {
namespace {

bool g_IsNone(const CJson& rValue) {
    return rValue.IsNull() || (rValue.IsText() && rValue.Text().empty()) ||
           (rValue.IsArray() && rValue.Items().empty());
}

/// A label amid a sentence: "Maker" as "maker", "ECC" as it is.
std::string g_Amid(std::string sLabel) {
    const auto IsCapital = [](char c) { return c >= 'A' && c <= 'Z'; };
    return sLabel.size() < 2 || IsCapital(sLabel[1]) ? sLabel : g_Lower(sLabel.substr(0, 1)) + sLabel.substr(1);
}

std::string g_Shown(const CJson& rValue) {
    if (!rValue.IsArray()) return g_Cell(rValue);
    std::string sList;
    for (const CJson& rItem : rValue.Items()) sList += (sList.empty() ? "" : " ") + g_Cell(rItem);
    return sList;
}

}  // namespace

void CFacts::Add(const char* pszKey, const char* pszLabel, CJson Value, const char* pszUnit, std::string sShown) {
    if (g_IsNone(Value)) return AddMissing(pszKey, pszLabel, m_pszNone, pszUnit);
    if (sShown.empty()) sShown = g_Shown(Value) + (*pszUnit ? " " : "") + pszUnit;
    m_Facts.push_back({pszKey, pszLabel, std::move(Value), pszUnit, std::move(sShown), nullptr});
}

void CFacts::AddNumber(const char* pszKey, const char* pszLabel, double dValue, const char* pszUnit,
                       std::string sShown) {
    constexpr double kExact = 1e15;  // whole numbers have no place behind the point up to here
    if (dValue == 0 || !std::isfinite(dValue)) return AddMissing(pszKey, pszLabel, m_pszNone, pszUnit);
    const bool bWhole = std::abs(dValue) < kExact && dValue == std::floor(dValue);
    Add(pszKey, pszLabel, bWhole ? CJson(static_cast<int64_t>(dValue)) : g_ToJson(std::optional(dValue)), pszUnit,
        std::move(sShown));
}

void CFacts::AddSerial(const char* pszKey, const char* pszLabel, CJson Value, std::string sShown) {
    if (!m_bSerials && !g_IsNone(Value)) return AddMissing(pszKey, pszLabel, kSerialsLeftOut);
    Add(pszKey, pszLabel, std::move(Value), "", std::move(sShown));
}

void CFacts::AddMissing(const char* pszKey, const char* pszLabel, const char* pszReason, const char* pszUnit) {
    m_Facts.push_back({pszKey, pszLabel, nullptr, pszUnit, "", pszReason});
}

void CFacts::AddTo(CJson& rObject) const {
    for (const CFact& rFact : m_Facts)
        rObject[rFact.pszKey] = {{"value", rFact.Value},
                                 {"unit", rFact.pszUnit},
                                 {"reason", rFact.pszReason ? CJson(rFact.pszReason) : CJson()}};
}

CTextTable CFacts::Table(const std::string& sTitle) const {
    CTextTable Table{sTitle, {"", ""}};
    std::string sMissing;
    for (const CFact& rFact : m_Facts) {
        if (rFact.pszReason == m_pszNone)
            sMissing += (sMissing.empty() ? "" : ", ") + g_Amid(rFact.pszLabel);
        else
            Table.Rows.push_back(
                {"  " + std::string(rFact.pszLabel), rFact.pszReason ? rFact.pszReason : rFact.sShown});
    }
    if (!sMissing.empty()) Table.Rows.push_back({"  Not told", sMissing});
    return Table;
}

}  // namespace vxttools
