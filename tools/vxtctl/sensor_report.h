// Samples of the sensors as tables, JSON and lines.
#pragma once

#include "common/document.h"
#include "sensor_samples.h"

namespace vxtctl {

/// The array "sensors": the last sample. The rows of --csv.
void g_AddSensors(vxttools::CDocument& rDocument, const CSensorSamples& rSamples);
/// The last sample for people: with the limits, and why something has no reading.
vxttools::CTextTable g_SensorTable(const CSensorSamples& rSamples);

/// A sample amid others: "event", "ts", how many there were, and "sensors" with what they were over all samples.
void g_AddEvent(vxttools::CDocument& rDocument, const CSensorSamples& rSamples, const char* pszEvent);
/// Present value, least, greatest and average over all samples, of the sensors that are to be shown.
vxttools::CTextTable g_SeriesTable(
    const CSensorSamples& rSamples, bool (*pIsShown)(const CSensor&) = [](const CSensor&) { return true; });

/// A sample as a line: its time, then ID=VALUE for each sensor, "-" without a reading.
std::string g_SampleLine(const CSensorSamples& rSamples);
/// The same as comma-separated values: "ts" and the ids, then in each line time and values, empty without a reading.
std::string g_CsvHeading(const CSensorSamples& rSamples);
std::string g_CsvLine(const CSensorSamples& rSamples);

}  // namespace vxtctl
