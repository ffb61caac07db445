// HTML and SVG: text that cannot break out of its place, and the parts of a drawing.
#pragma once

#include <string>
#include <string_view>

namespace vxttools {

/// A text as HTML and XML take it, as content and between quotation marks: marks as entities; a control character
/// becomes a blank, what is no character U+FFFD.
std::string g_Markup(std::string_view sText);

/// A coordinate, to a tenth of the drawing's unit.
std::string g_At(double d);

/// "M1 2"
std::string g_MoveTo(double dX, double dY);

std::string g_SvgText(double dX, double dY, const std::string& sText, const char* pszClass = "start");
/// `sTitle` is what a pointer on it shows.
std::string g_SvgPath(const std::string& sClass, const std::string& sWay, const std::string& sTitle = "");

/// "2:00", "1:20:00"; `bHours`: with hours also where there are none, "0:02:00"
std::string g_TimeText(double dSeconds, bool bHours = false);

/// Steps of an axis that are round numbers, so few that each can be labelled: 1, 2, 5, 10 ... times a power of ten, at least
/// `dLeast`; of times whole minutes and hours.
double g_AxisStep(double dRange, double dLeast);
double g_TimeStep(double dRange);

}  // namespace vxttools
