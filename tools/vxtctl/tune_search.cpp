#include "tune_search.h"

#include "common/console.h"
#include "common/text.h"
#include "stress_report.h"

namespace vxtctl {

using vxtapi::TunePoint;
using vxttools::CFailure;
using vxttools::EExit;

namespace {

std::string g_Now() { return vxttools::g_IsoTime(std::chrono::system_clock::now()); }

CTunedClock g_Clock(const TunePoint& rPoint) { return {rPoint.dReferenceClock, rPoint.dMultiplier}; }

/// "1:23"
std::string g_Left(const TunePoint& rPoint) {
    const uint32_t uLeft = rPoint.uDuration > rPoint.uSeconds ? rPoint.uDuration - rPoint.uSeconds : 0;
    const std::string sSeconds = std::to_string(uLeft % 60);
    return std::to_string(uLeft / 60) + (sSeconds.size() < 2 ? ":0" : ":") + sSeconds;
}

}  // namespace

CTuneSearch::CTuneSearch(const vxttools::CTool& rTool, const CHostLibrary& rLibrary, CTuneRecords& rRecords,
                         CTuneRecord& rRecord, CTemperatureWatch& rWatch)
    : m_rTool(rTool),
      m_rRecords(rRecords),
      m_rRecord(rRecord),
      m_rWatch(rWatch),
      m_pTuner(rLibrary.Performance().GetSystemTune()),
      m_Line(rTool.Options().bQuiet) {
    if (!m_pTuner) throw CFailure(EExit::kFailed, "the library has no automatic tuning here; --log tells why");
}

void CTuneSearch::Forget() {
    if (!m_pTuner->ForgetLastTune())
        throw CFailure(EExit::kFailed,
                       "the library could not write its configuration file, so a search that dies could not go on; "
                       "nothing was done, --log tells why");
}

void CTuneSearch::Run(const std::string& sProblem) {
    m_rRecord.sReason = sProblem;
    m_rRecord.eEnd = sProblem.empty() ? _Search() : ETuneEnd::kBroken;
    m_rRecord.sEnded = g_Now();
    if (m_rRecord.eEnd == ETuneEnd::kBroken && m_rRecord.sReason.empty())
        m_rRecord.sReason = "the library could not go on; --log tells why";
    m_rRecord.oFound =
        m_rRecord.IsOver() ? m_rRecord.Best() : std::nullopt;  // what the library goes back to may be untested
}

ETuneEnd CTuneSearch::_Search() {
    m_pTuner->SetObserver(this);
    const bool bToItsEnd = m_pTuner->StartTune();
    m_pTuner->SetObserver(nullptr);
    m_Line.Show("");
    if (m_oeStopped) return *m_oeStopped;
    const int32_t nStatus = m_pTuner->GetStatus();
    if (nStatus == vxtapi::kTuneFailed) return ETuneEnd::kFailed;  // without a list of clocks that is no success there
    return bToItsEnd && nStatus == vxtapi::kTuneFinished ? ETuneEnd::kFinished : ETuneEnd::kBroken;
}

void CTuneSearch::_Stop(ETuneEnd eEnd, const std::string& sReason) {
    m_pTuner->Stop();
    if (m_oeStopped) return;
    m_oeStopped = eEnd;
    m_rRecord.sReason = sReason;
}

// Called by the library, which no exception may pass through.
void CTuneSearch::OnPoint(const TunePoint* pPoint) {
    try {
        _OnPoint(*pPoint);
    } catch (const std::exception& rError) { _Stop(ETuneEnd::kBroken, rError.what()); }
}

void CTuneSearch::_OnPoint(const TunePoint& rPoint) {
    switch (rPoint.uState) {
        case vxtapi::kTuneBegins:
            _Begin(rPoint);
            break;
        case vxtapi::kTuneTests:
            _Test(rPoint);
            break;
        case vxtapi::kTunePassed:
            _End(rPoint, EPointEnd::kPassed);
            break;
        case vxtapi::kTuneFails:
            ++m_uFailed;
            _End(rPoint, EPointEnd::kFailed);
            break;
        case vxtapi::kTuneBreaks:
            _End(rPoint, EPointEnd::kStopped);
            break;
        default:
            break;
    }
    if (vxttools::g_WasInterrupted()) _Stop(ETuneEnd::kInterrupted);
}

void CTuneSearch::_Begin(const TunePoint& rPoint) {
    const CTunedClock Clock = g_Clock(rPoint);
    if (m_oDeadly && Clock.CoreClock() >= m_oDeadly->Clock.CoreClock()) return _Stop(ETuneEnd::kBelowDeath);
    if (vxttools::g_WasInterrupted()) return _Stop(ETuneEnd::kInterrupted);
    m_rRecord.Points.push_back({.Clock = Clock, .sBegun = g_Now(), .uDuration = rPoint.uDuration});
    try {
        m_rRecords.SetLast(m_rRecord);
    } catch (const CFailure&) {
        m_rRecord.Points.pop_back();  // it will not be set
        throw;
    }
    m_bOpen = true;
    m_uWritten = 0;
}

void CTuneSearch::_Test(const TunePoint& rPoint) {
    constexpr uint32_t kEvery = 10;  // seconds
    if (m_bOpen) m_rRecord.Points.back().uSeconds = rPoint.uSeconds;
    if (m_bOpen && rPoint.uSeconds >= m_uWritten + kEvery) {
        m_rRecords.SetLast(m_rRecord);
        m_uWritten = rPoint.uSeconds;
    }
    _Show(rPoint);
    if (const std::string sHot = m_rWatch.TooHot(); !sHot.empty()) return _Stop(ETuneEnd::kTooHot, sHot);
    if (const std::string sLost = m_rWatch.Lost(); !sLost.empty()) _Stop(ETuneEnd::kBroken, sLost);
}

void CTuneSearch::_End(const TunePoint& rPoint, EPointEnd eEnd) {
    if (!m_bOpen) return;  // it was not even set
    m_bOpen = false;
    CTunePoint& rNoted = m_rRecord.Points.back();
    rNoted.eEnd = eEnd;
    rNoted.uSeconds = rPoint.uSeconds;
    if (rPoint.pError)
        rNoted.sError = g_StressErrorLine(*rPoint.pError);
    else if (eEnd == EPointEnd::kFailed)
        rNoted.sError = rPoint.uSeconds == 0 ? "the firmware did not take the clock" : "nothing computes any more";
    if (!vxttools::g_StderrColumns())
        m_rTool.Output().Note(g_ClockText(rNoted.Clock) + ": " + g_Word(eEnd) + " after " +
                              std::to_string(rNoted.uSeconds) + " s" +
                              (rNoted.sError.empty() ? "" : ": " + rNoted.sError));
    m_rRecords.SetLast(m_rRecord);
}

void CTuneSearch::_Show(const TunePoint& rPoint) {
    std::string sText = g_ClockText(g_Clock(rPoint)) + ", clock " + std::to_string(rPoint.uNumber) + ", " +
                        g_Left(rPoint) + " left, " + g_ErrorCount(m_uFailed);
    if (const std::optional<double> oHighest = m_rWatch.Highest())
        sText += ", at most " + vxttools::g_Trimmed(*oHighest, 1) + " °C";
    m_Line.Show(sText);
}

}  // namespace vxtctl
