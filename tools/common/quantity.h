// One reading with all that belongs to it, so that no bare number (and no stand-in for a missing one) leaves the tools.
#pragma once

#include <optional>
#include <string>

#include "common/json.h"

namespace vxttools {

/// What a reading can be on sane hardware. Failed readings arrive in-band (0, -1, -9999): none of them is a value.
struct CPlausible {
    double dLow, dHigh;
    bool bZeroIsReading = false;
};

inline constexpr CPlausible kPlausibleClock{1, 20'000};  ///< MHz

/// Where a setting may lie, as far as it is known.
struct CLimits {
    std::optional<double> oMinimum = std::nullopt, oMaximum = std::nullopt;
};

struct CQuantity {
    std::string sId;  ///< stable path, "/cpu/0/core_voltage"
    std::string sLabel;
    std::string sUnit;  ///< "MHz", "V", "°C", "%", "RPM"; empty for a plain number
    std::optional<double> oValue = std::nullopt;
    bool bOutOfRange = false;
    std::string sReason = {};  ///< why there is no value
    CLimits Limits = {};

    /// Takes the raw reading if it is one, else says why not.
    void Judge(double dRaw, const CPlausible& rPlausible);
    CJson ToJson() const;
};

CJson g_ToJson(const CLimits& rLimits);
/// Without the last binary digits, which no instrument here has: 1.3250000000000002 is 1.325.
CJson g_ToJson(const std::optional<double>& oValue);

/// A number as the unit is usually written: MHz with one decimal, volts with four, RPM without.
std::string g_FormatValue(double dValue, const std::string& sUnit);

/// One cell of a text table: quantities with or without their unit, yes/no, "-" where there is nothing.
std::string g_Cell(const CJson& rValue, bool bWithUnit = false);

}  // namespace vxttools
