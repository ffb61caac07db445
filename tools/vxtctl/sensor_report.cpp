#include "sensor_report.h"

#include <algorithm>

namespace vxtctl {

using vxttools::CJson;
using vxttools::CQuantity;
using vxttools::CTextTable;
using vxttools::g_FormatValue;
using vxttools::g_ToJson;

namespace {

constexpr int kDecimals = 6;  // finer than any of the chips

CJson g_SensorJson(const CSensor& rSensor, const CQuantity& rReading) {
    CJson Json = rReading.ToJson();
    Json["device"] = rSensor.sDevicePath;
    Json["device_name"] = rSensor.sDevice;
    Json["kind"] = g_KindWord(rSensor.eKind);
    return Json;
}

std::string g_Number(const std::optional<double>& oValue, const std::string& sUnit) {
    return oValue ? g_FormatValue(*oValue, sUnit) : "-";
}

std::string g_LimitText(const CSensorSamples& rSamples, size_t uSensor) {
    const CSensor& rSensor = rSamples.Sensors()[uSensor];
    if (!rSensor.Limits.oMaximum) return "";
    return g_Number(rSensor.Limits.oMaximum, rSensor.sUnit) + (rSamples.IsExceeded(uSensor) ? " exceeded" : "");
}

}  // namespace

void g_AddSensors(vxttools::CDocument& rDocument, const CSensorSamples& rSamples) {
    CJson& rSensors = rDocument["sensors"] = CJson::Array();
    for (size_t i = 0; i < rSamples.Sensors().size(); ++i)
        rSensors.Push(g_SensorJson(rSamples.Sensors()[i], rSamples.Readings()[i]));
    rDocument.SetCsv("sensors");
}

CTextTable g_SensorTable(const CSensorSamples& rSamples) {
    CTextTable Table{"Sensors", {"Device", "Sensor", ">Value", "Unit", "Limit", "~Why there is no value"}};
    for (size_t i = 0; i < rSamples.Sensors().size(); ++i) {
        const CSensor& rSensor = rSamples.Sensors()[i];
        const CQuantity& rReading = rSamples.Readings()[i];
        Table.Rows.push_back({rSensor.sDevice, rSensor.sLabel, g_Number(rReading.oValue, rSensor.sUnit), rSensor.sUnit,
                              g_LimitText(rSamples, i), rReading.sReason});
    }
    return Table;
}

void g_AddEvent(vxttools::CDocument& rDocument, const CSensorSamples& rSamples, const char* pszEvent) {
    rDocument["event"] = pszEvent;
    rDocument["ts"] = vxttools::g_IsoTime(rSamples.Time());
    rDocument["samples"] = rSamples.Count();
    g_AddSensors(rDocument, rSamples);
    for (size_t i = 0; CJson & rSensor : rDocument["sensors"].Items()) {
        const CSeries& rSeries = rSamples.Series()[i++];
        rSensor["readings"] = rSeries.uReadings;
        rSensor["minimum"] = g_ToJson(rSeries.oMinimum);
        rSensor["maximum"] = g_ToJson(rSeries.oMaximum);
        rSensor["average"] = g_ToJson(rSeries.oAverage);
    }
}

CTextTable g_SeriesTable(const CSensorSamples& rSamples, bool (*pIsShown)(const CSensor&)) {
    CTextTable Table{"", {"Sensor", ">Now", "~~Unit", ">Min", ">Max", "~>Average"}};
    const bool bLimits = std::ranges::any_of(
        rSamples.Sensors(), [](const CSensor& rSensor) { return rSensor.Limits.oMaximum.has_value(); });
    if (bLimits) Table.Columns.emplace_back("Limit");
    const std::string* psDevice = nullptr;
    for (size_t i = 0; i < rSamples.Sensors().size(); ++i) {
        const CSensor& rSensor = rSamples.Sensors()[i];
        const CSeries& rSeries = rSamples.Series()[i];
        if (!pIsShown(rSensor)) continue;
        if (!psDevice || *psDevice != rSensor.sDevicePath) Table.Rows.push_back({rSensor.sDevice});
        psDevice = &rSensor.sDevicePath;
        Table.Rows.push_back({"  " + rSensor.sLabel, g_Number(rSamples.Readings()[i].oValue, rSensor.sUnit),
                              rSensor.sUnit, g_Number(rSeries.oMinimum, rSensor.sUnit),
                              g_Number(rSeries.oMaximum, rSensor.sUnit), g_Number(rSeries.oAverage, rSensor.sUnit)});
        if (bLimits) Table.Rows.back().push_back(g_LimitText(rSamples, i));
    }
    return Table;
}

std::string g_SampleLine(const CSensorSamples& rSamples) {
    std::string sLine = vxttools::g_IsoTime(rSamples.Time());
    for (const CQuantity& rReading : rSamples.Readings())
        sLine += " " + rReading.sId.substr(1) + "=" + g_Number(rReading.oValue, rReading.sUnit);
    return sLine;
}

std::string g_CsvHeading(const CSensorSamples& rSamples) {
    std::string sLine = "ts";
    for (const CSensor& rSensor : rSamples.Sensors()) sLine += "," + rSensor.sId;
    return sLine;
}

std::string g_CsvLine(const CSensorSamples& rSamples) {
    std::string sLine = vxttools::g_IsoTime(rSamples.Time());
    for (const CQuantity& rReading : rSamples.Readings())
        sLine += "," + (rReading.oValue ? vxttools::g_Trimmed(*rReading.oValue, kDecimals) : "");
    return sLine;
}

}  // namespace vxtctl
