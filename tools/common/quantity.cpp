#include "common/quantity.h"

#include <cmath>

#include "common/text.h"

namespace vxttools {

void CQuantity::Judge(double dRaw, const CPlausible& rPlausible) {
    constexpr double kSouthBridgeFailure = -9999.0, kFailure = -1.0;
    oValue.reset();
    bOutOfRange = false;
    if (dRaw == kSouthBridgeFailure || (dRaw == kFailure && rPlausible.dLow > kFailure) ||
        (dRaw == 0 && !rPlausible.bZeroIsReading)) {
        sReason = "there is no reading";
    } else if (!(dRaw >= rPlausible.dLow && dRaw <= rPlausible.dHigh)) {  // also not-a-number
        bOutOfRange = true;
        sReason = std::isfinite(dRaw) ? "implausible raw reading " + g_Trimmed(dRaw, 4) : "raw reading is not a number";
    } else {
        oValue = dRaw;
        sReason.clear();
    }
}

CJson g_ToJson(const std::optional<double>& oValue) {
    return oValue ? CJson(std::round(*oValue * 1e6) / 1e6) : nullptr;
}

CJson g_ToJson(const CLimits& rLimits) {
    return {{"min", g_ToJson(rLimits.oMinimum)}, {"max", g_ToJson(rLimits.oMaximum)}};
}

CJson CQuantity::ToJson() const {
    return {{"id", sId},
            {"label", sLabel},
            {"value", g_ToJson(oValue)},
            {"unit", sUnit},
            {"limits", g_ToJson(Limits)},
            {"status", oValue        ? "ok"
                       : bOutOfRange ? "out_of_range"
                                     : "unavailable"},
            {"reason", oValue ? nullptr : CJson(sReason)}};
}

std::string g_FormatValue(double dValue, const std::string& sUnit) {
    const int nDecimals = sUnit == "RPM" ? 0 : sUnit == "MHz" || sUnit == "°C" ? 1 : 4;
    std::string sText = g_Trimmed(dValue, nDecimals);
    if (sUnit != "MHz" && sUnit != "V" && sUnit != "°C") return sText;
    size_t uPoint = sText.find('.');  // fixed decimals line up
    if (uPoint == std::string::npos) uPoint = sText.size(), sText += '.';
    sText.resize(uPoint + 1 + static_cast<size_t>(nDecimals), '0');
    return sText;
}

std::string g_Cell(const CJson& rValue, bool bWithUnit) {
    if (rValue.IsObject()) {
        const std::optional<double> oValue = rValue["value"].Number();
        if (!oValue) return "-";
        const std::string& rsUnit = rValue["unit"].Text();
        const std::string sText = g_FormatValue(*oValue, rsUnit);
        return bWithUnit && !rsUnit.empty() ? sText + " " + rsUnit : sText;
    }
    if (rValue.IsNull()) return "-";
    if (rValue.IsFlag()) return rValue.Flag() ? "yes" : "no";
    if (const std::optional<double> oNumber = rValue.Number()) return g_Trimmed(*oNumber, 4);
    return rValue.Text();
}

}  // namespace vxttools
