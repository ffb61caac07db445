// vxtctl watchdog run: the PC restarts when this tool, and with it most likely everything, stops running.
#include "timed_run.h"
#include "watchdog_change.h"

namespace vxtctl {

using namespace vxttools;

namespace {

struct CWanted {
    std::optional<uint32_t> oSeconds, oEvery;
};
constexpr COption<CWanted> kOptions[] = {
    {"--for", "SECONDS", "How long, 1 to 86400; then the timer is switched off", &CWanted::oSeconds, true},
    {"--every", "SECONDS", "How often it is started over, 1 to 25; 10 when left out", &CWanted::oEvery},
};

EExit g_WatchdogRun(CTool& rTool, const CWanted& rWanted) {
    constexpr uint32_t kMostEvery = 25, kUsualEvery = 10;  // some seconds less than the timer's time
    const uint32_t uEvery = rWanted.oEvery.value_or(kUsualEvery);
    g_CheckRunTime("--for", *rWanted.oSeconds);
    if (uEvery < 1 || uEvery > kMostEvery)
        throw CFailure(EExit::kUsage, "--every: expected 1 to " + std::to_string(kMostEvery) +
                                          " seconds: the PC restarts after " +
                                          std::to_string(CWatchdogTimer::kSeconds));
    const CHostLibrary Library(rTool.Options());
    CWatchdogTimer Timer(Library);
    CTimedRun Run{*rWanted.oSeconds};
    double dNext = uEvery;
    const auto Look = [&](double dSeconds) {
        if (dSeconds < dNext) return ERunEnd::kDone;
        dNext += uEvery;
        if (Timer.StartOver() || Timer.StartOver()) return ERunEnd::kDone;
        Run.sReason = "the timer could not be started over";
        return ERunEnd::kFailed;
    };
    CChangePlan Plan = g_PlanWatchdog(Timer, true,
                                      "started over every " + std::to_string(uEvery) + " s, off after " +
                                          std::to_string(*rWanted.oSeconds) +
                                          " s; if this stops running before, the PC restarts within " +
                                          std::to_string(CWatchdogTimer::kSeconds) + " s");
    return Library.Finish(Plan.Run(rTool, [&](CDocument& rDocument, EExit eExit) {
        if (rTool.Options().bDryRun) {
            Run.eEnd = ERunEnd::kPlanned;
        } else if (eExit == EExit::kDone) {
            g_RunFor(Run, rTool, Library, {Look, [] { return std::string(); }});
            Run.oPutBack = Timer.Stop();
            if (!Run.sReason.empty()) g_PrintRemark(Run.sReason);
            eExit = g_RunExit(Run);
        }
        g_AddRun(rDocument, Run);
        return eExit;
    }));
}

}  // namespace

extern constexpr CCommand kWatchdogRun{
    "watchdog run", "Keep the watchdog timer from restarting the PC while all is well",
    "  vxtctl watchdog run --for 3600 --dry-run  then off", g_NewCall<CWanted, kOptions, g_WatchdogRun>};

}  // namespace vxtctl
