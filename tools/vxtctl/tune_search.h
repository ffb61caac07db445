// A search for the highest clock: the library searches, this notes every clock on disk before it is set, shows how far it
// is, and ends it when the user wants that, when it gets too hot, or where a PC died.
#pragma once

#include "common/progress_line.h"
#include "fan_watch.h"
#include "tune_machine.h"

namespace vxtctl {

class CTuneSearch final : private vxtapi::CTuneObserver {
public:
    /// `rRecord` is on disk already and is kept up. Ends the command when the library has no automatic tuning.
    CTuneSearch(const vxttools::CTool& rTool, const CHostLibrary& rLibrary, CTuneRecords& rRecords,
                CTuneRecord& rRecord, CTemperatureWatch& rWatch);
    CTuneSearch(const CTuneSearch&) = delete;

    /// Clocks from this core clock on are not tried.
    void Forbid(const CTunePoint& rDeadly) { m_oDeadly = rDeadly; }
    /// The next search begins at the present clock. Ends the command when that cannot be written.
    void Forget();
    /// How the last search ended, as the library has written it down: one of vxtapi::eTuneStatus.
    int32_t LastStatus() const { return m_pTuner->GetLastTuneStatus(); }

    /// Blocks until it ends. The record then tells how, but is not on disk. `sProblem`: why it cannot even begin, or empty.
    void Run(const std::string& sProblem);

private:
    void OnPoint(const vxtapi::TunePoint* pPoint) override;
    void _OnPoint(const vxtapi::TunePoint& rPoint);
    void _Begin(const vxtapi::TunePoint& rPoint);
    void _Test(const vxtapi::TunePoint& rPoint);
    void _End(const vxtapi::TunePoint& rPoint, EPointEnd eEnd);
    void _Stop(ETuneEnd eEnd, const std::string& sReason = "");
    void _Show(const vxtapi::TunePoint& rPoint);
    ETuneEnd _Search();

    const vxttools::CTool& m_rTool;
    CTuneRecords& m_rRecords;
    CTuneRecord& m_rRecord;
    CTemperatureWatch& m_rWatch;
    vxtapi::CSystemTune* m_pTuner;
    vxttools::CProgressLine m_Line;
    std::optional<CTunePoint> m_oDeadly;
    std::optional<ETuneEnd> m_oeStopped;  ///< why this asked the library to stop
    uint32_t m_uWritten = 0;              ///< second of the present test that the disk has
    uint32_t m_uFailed = 0;
    bool m_bOpen = false;  ///< the record's last point is being tested
};

}  // namespace vxtctl
