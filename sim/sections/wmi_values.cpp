#include "wmi_values.h"

#include <algorithm>

#include "../machine_words.h"
#include "writer.h"

namespace vxtsim {

namespace {

constexpr std::string_view kMissing = "missing";  ///< no value at all

/// Values that are one word.
struct CPlainForm {
    std::string_view sWord;
    uint16_t usType;
    bool bNullArray = false, bNoData = false;

    CWmiValue Value() const {
        CWmiValue Result = CWmiValue::Typed(usType);
        Result.bNullArray = bNullArray, Result.bNoData = bNoData;
        return Result;
    }
};
constexpr CPlainForm kPlainForms[] = {
    {"null", CWmiValue::kNull},
    {"empty", CWmiValue::kEmpty},
    {"null_numbers", CWmiValue::kIntegers, true},
    {"null_bytes", CWmiValue::kBytes, true},
    {"null_texts", CWmiValue::kTexts, true},
    {"no_data", CWmiValue::kIntegers, false, true},
};

/// Values behind their type and a colon.
struct CTypedForm {
    std::string_view sType;
    uint16_t usType;
    bool (*pRead)(CMachineReader& rReader, std::string_view sText, CWmiValue& rValue);
    std::string (*pWrite)(const CWmiValue& rValue);
};
constexpr CTypedForm kTypedForms[] = {
    {"number", CWmiValue::kInteger, [](auto& rReader, auto sText, auto& r) { return rReader.Value(sText, r.nNumber); },
     [](const CWmiValue& r) { return g_ValueText(r.nNumber); }},
    {"text", CWmiValue::kText, [](auto& rReader, auto sText, auto& r) { return rReader.Text(sText, r.sText); },
     [](const CWmiValue& r) { return r.sText; }},
    {"bool", CWmiValue::kBoolean,
     [](auto& rReader, auto sText, auto& r) { return rReader.Number(sText, r.nNumber, 1, 0); },
     [](const CWmiValue& r) { return g_ValueText(r.nNumber != 0); }},
    {"numbers", CWmiValue::kIntegers,
     [](auto& rReader, auto sText, auto& r) { return rReader.Value(sText, r.Integers); },
     [](const CWmiValue& r) { return g_ValueText(r.Integers); }},
    {"bytes", CWmiValue::kBytes, [](auto& rReader, auto sText, auto& r) { return rReader.Bytes(sText, r.Bytes); },
     [](const CWmiValue& r) { return g_BytesText(r.Bytes); }},
    {"texts", CWmiValue::kTexts, [](auto& rReader, auto sText, auto& r) { return rReader.Texts(sText, r.Texts); },
     [](const CWmiValue& r) { return g_TextsText(r.Texts); }},
    {"other", 0, [](auto& rReader, auto sText, auto& r) { return rReader.Value(sText, r.usType); },
     [](const CWmiValue& r) { return g_ValueText(r.usType); }},
};

}  // namespace

std::vector<std::string> g_WmiValueForms() {
    std::vector<std::string> Forms;
    for (const CTypedForm& rForm : kTypedForms) Forms.push_back(std::string(rForm.sType) + ":");
    for (const CPlainForm& rForm : kPlainForms) Forms.emplace_back(rForm.sWord);
    Forms.emplace_back(kMissing);
    return Forms;
}

bool g_ReadWmiValue(CMachineReader& rReader, std::string_view sText, std::optional<CWmiValue>& roValue, bool bMayMiss) {
    while (sText.ends_with('\r')) sText.remove_suffix(1);
    const std::string_view sWord = g_Trim(CMachineReader::WithoutComment(sText));
    if (bMayMiss && sWord == kMissing) return roValue.reset(), true;
    const auto pPlain = std::ranges::find(kPlainForms, sWord, &CPlainForm::sWord);
    if (pPlain != std::end(kPlainForms)) return roValue = pPlain->Value(), true;

    const size_t uColon = sText.find(':');
    const auto pTyped =
        std::ranges::find(kTypedForms, sText.substr(0, std::min(uColon, sText.size())), &CTypedForm::sType);
    if (uColon != std::string_view::npos && pTyped != std::end(kTypedForms)) {
        roValue = CWmiValue::Typed(pTyped->usType);
        return pTyped->pRead(rReader, sText.substr(uColon + 1), *roValue);
    }
    std::vector<std::string> Forms = g_WmiValueForms();
    if (!bMayMiss) Forms.pop_back();
    std::string sKnown;
    for (const std::string& rsForm : Forms) sKnown += (sKnown.empty() ? "" : ", ") + rsForm;
    return rReader.Fail(sKnown, sText);
}

std::string g_WmiValueText(const std::optional<CWmiValue>& roValue) {
    if (!roValue) return std::string(kMissing);
    for (const CPlainForm& rPlain : kPlainForms)
        if (rPlain.Value() == *roValue) return std::string(rPlain.sWord);
    const auto pTyped = std::ranges::find(kTypedForms, roValue->usType, &CTypedForm::usType);
    const CTypedForm& rForm = pTyped == std::end(kTypedForms) ? std::end(kTypedForms)[-1] : *pTyped;
    return std::string(rForm.sType) + ":" + rForm.pWrite(*roValue);
}

}  // namespace vxtsim
