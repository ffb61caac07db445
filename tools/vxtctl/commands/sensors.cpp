// vxtctl sensors: what the sensors read, now or over time.
#include "common/command.h"
#include "sensor_report.h"
#include "sensor_selection.h"
#include "sensor_watch.h"

namespace vxtctl {

using namespace vxttools;

namespace {

struct CWanted {
    std::vector<std::string> Words;
    bool bWatch = false;
    std::optional<std::string> oRecord;
    std::optional<double> oInterval;
    std::optional<uint32_t> oCount;
};
constexpr COption<CWanted> kOptions[] = {
    {"SENSOR", "", "A kind (fan), a device (south-bridge/0) or an id; all sensors when left out", &CWanted::Words,
     false, nullptr, g_SensorCandidates},
    {"--watch", "", "Again and again: a live screen on a terminal, else a line a sample", &CWanted::bWatch},
    {"--record", "FILE", "Add each sample to FILE as a line of comma-separated values", &CWanted::oRecord},
    {"--interval", "S", "Seconds from one sample to the next, 0.1 to 3600; 1 when left out", &CWanted::oInterval},
    {"--count", "N", "End after N samples", &CWanted::oCount},
};

CWatching g_Watching(const CTool& rTool, const CWanted& rWanted) {
    constexpr double kShortest = 0.1, kLongest = 3600, kUsual = 1;
    const double dInterval = rWanted.oInterval.value_or(kUsual);
    const auto& oOutput = rTool.Options().oOutput;
    if (dInterval < kShortest || dInterval > kLongest)
        throw CFailure(EExit::kUsage, "--interval: expected 0.1 to 3600 seconds");
    if (rWanted.oCount == 0u) throw CFailure(EExit::kUsage, "--count: expected at least one sample");
    if (rWanted.oRecord == "-")
        throw CFailure(EExit::kUsage, "--record: expected a file; --watch --csv shows the lines");
    if (rWanted.bWatch && oOutput && oOutput != "-")
        throw CFailure(EExit::kUsage, "--watch shows its samples on standard output; --record FILE keeps them");
    return {.bWatch = rWanted.bWatch,
            .oRecord = rWanted.oRecord,
            .Interval = std::chrono::round<std::chrono::milliseconds>(std::chrono::duration<double>(dInterval)),
            .oCount = rWanted.oCount};
}

EExit g_Sensors(CTool& rTool, const CWanted& rWanted) {
    const bool bOnce = !rWanted.bWatch && !rWanted.oRecord;
    if (bOnce && (rWanted.oInterval || rWanted.oCount))
        throw CFailure(EExit::kUsage, "--interval and --count belong to --watch and --record");
    const CWatching Watching = g_Watching(rTool, rWanted);
    const CHostLibrary Library(rTool.Options());
    Library.RemarkOnCores(rTool.Output());
    CSensorSamples Samples(g_SelectSensors(Library, rWanted.Words));
    if (!bOnce) return g_WatchSensors(rTool, Library, Samples, Watching);

    Samples.Take();
    CDocument Document = rTool.NewDocument();
    g_AddSensors(Document, Samples);
    Document.AddTable(g_SensorTable(Samples));
    return Library.Emit(rTool, Document, Samples.Findings());
}

}  // namespace

extern constexpr CCommand kSensors{"sensors", "Show temperatures, fans and voltages, once or over time",
                                   "  vxtctl sensors\n"
                                   "  vxtctl sensors temperature fan --json\n"
                                   "  vxtctl sensors --watch --count 2            without --count until Ctrl-C\n"
                                   "  vxtctl sensors --record log.csv --count 2   one line a second",
                                   g_NewCall<CWanted, kOptions, g_Sensors>};

}  // namespace vxtctl
