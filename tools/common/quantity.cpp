#include "common/quantity.h"

#include <cmath>

#include "common/text.h"

namespace vxttools {
namespace {

/// Takes the last binary digits off, which no instrument here has: 1.3250000000000002 is 1.325.
double _Rounded(double dValue) { return std::round(dValue * 1e6) / 1e6; }

CJson _OrNull(const std::optional<double>& rValue) { return rValue ? CJson(_Rounded(*rValue)) : CJson(nullptr); }

}  // namespace

void CQuantity::Judge(double dRaw, const CPlausible& rPlausible) {
    constexpr double kSouthBridgeFailure = -9999.0, kFailure = -1.0;
    dValue.reset();
    bOutOfRange = false;
    if (dRaw == kSouthBridgeFailure || (dRaw == kFailure && rPlausible.dLow > kFailure) ||
        (dRaw == 0 && !rPlausible.bZeroIsReading)) {
        sReason = "no reading: this processor or board lacks it, or the access failed";
    } else if (!(dRaw >= rPlausible.dLow && dRaw <= rPlausible.dHigh)) {  // also not-a-number
        bOutOfRange = true;
        sReason = std::isfinite(dRaw) ? "implausible raw reading " + g_Trimmed(dRaw, 4) : "raw reading is not a number";
    } else {
        dValue = dRaw;
        sReason.clear();
    }
}

CJson g_ToJson(const CLimits& rLimits) {
    return {{"min", _OrNull(rLimits.dMinimum)}, {"max", _OrNull(rLimits.dMaximum)}};
}

CJson CQuantity::ToJson() const {
    return {{"id", sId},
            {"label", sLabel},
            {"value", _OrNull(dValue)},
            {"unit", sUnit},
            {"limits", g_ToJson(Limits)},
            {"status", dValue        ? "ok"
                       : bOutOfRange ? "out_of_range"
                                     : "unavailable"},
            {"reason", dValue ? CJson(nullptr) : CJson(sReason)}};
}

std::string g_FormatValue(double dValue, const std::string& sUnit) {
    const int nDecimals = sUnit == "MHz" || sUnit == "°C" ? 1 : 4;
    std::string sText = g_Trimmed(dValue, nDecimals);
    if (sUnit != "MHz" && sUnit != "V" && sUnit != "°C") return sText;
    size_t uPoint = sText.find('.');  // fixed decimals line up
    if (uPoint == std::string::npos) uPoint = sText.size(), sText += '.';
    sText.resize(uPoint + 1 + static_cast<size_t>(nDecimals), '0');
    return sText;
}

std::string g_Cell(const CJson& rValue, bool bWithUnit) {
    if (rValue.is_object()) {
        if (rValue.at("value").is_null()) return "-";
        const std::string sUnit = rValue.at("unit");
        const std::string sText = g_FormatValue(rValue.at("value").get<double>(), sUnit);
        return bWithUnit && !sUnit.empty() ? sText + " " + sUnit : sText;
    }
    if (rValue.is_null()) return "-";
    if (rValue.is_boolean()) return rValue.get<bool>() ? "yes" : "no";
    if (rValue.is_number()) return g_Trimmed(rValue.get<double>(), 4);
    return rValue.get<std::string>();
}

}  // namespace vxttools
