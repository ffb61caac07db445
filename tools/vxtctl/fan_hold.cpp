#include "fan_hold.h"

#include <algorithm>
#include <chrono>

#include "common/text.h"

namespace vxtctl {

using vxttools::CFailure;
using vxttools::EExit;

CFanHold::~CFanHold() {
    try {
        if (!PutAllBack()) vxttools::g_PrintRemark("a fan could not be put back: see 'vxtctl fan'");
    } catch (const std::exception& rError) { vxttools::g_PrintRemark(rError.what()); }
}

CFanHold::CHeld& CFanHold::_Held(const CFan& rFan) { return *std::ranges::find(m_Fans, &rFan, &CHeld::pFan); }

void CFanHold::Begin() {
    if (m_bBegun) return;
    std::vector<CHoldRecord> Records;
    for (CHeld& rHeld : m_Fans) {
        const std::optional<CFanState> oBefore = rHeld.pFan->Save();
        if (!oBefore)
            throw CFailure(EExit::kFailed, rHeld.pFan->Name() +
                                               ": what drives it now could not be read, so it could "
                                               "not be put back; nothing was written");
        rHeld.Before = *oBefore;
        Records.push_back({rHeld.pFan->Id(), rHeld.pFan->Chip(), vxttools::g_IsoTime(std::chrono::system_clock::now()),
                           oBefore->uControl, oBefore->oDuty});
    }
    if (m_bOnDisk) m_rRecords.Add(Records);
    m_bBegun = true;
}

bool CFanHold::SetDuty(CFan& rFan, uint32_t uPercent) {
    Begin();
    CHeld& rHeld = _Held(rFan);
    rHeld.bTurned = rFan.Speed().has_value();
    rHeld.uPercent = uPercent;
    rHeld.bChanged = true;
    return rFan.SetDuty(uPercent);
}

std::string CFanHold::WhyItCannotStay(const CFan& rFan) const {
    const CHeld& rHeld = _Held(rFan);
    const bool bRaised = rHeld.Before.oDuty && rHeld.uPercent >= *rHeld.Before.oDuty;  // which stops no fan
    if (!rHeld.bTurned || bRaised || rHeld.uPercent == 0) return "";                   // 0: it is to stand still
    switch (g_SeeWhetherItTurns(rFan, m_rLibrary)) {
        case ETurning::kTurns:
            return "";
        case ETurning::kStops:
            return "at " + std::to_string(rHeld.uPercent) + " % the fan stands still";
        case ETurning::kInterrupted:
            return "interrupted before it was known whether the fan goes on turning";
    }
    return "";
}

bool CFanHold::PutBack(CFan& rFan) {
    CHeld& rHeld = _Held(rFan);
    if (rHeld.bChanged && rFan.Restore(rHeld.Before)) rHeld.bChanged = false;
    return !rHeld.bChanged;
}

bool CFanHold::PutAllBack() {
    if (!m_bBegun) return true;
    std::vector<std::string> Back;
    for (auto itHeld = m_Fans.rbegin(); itHeld != m_Fans.rend(); ++itHeld)
        if (PutBack(*itHeld->pFan)) Back.push_back(itHeld->pFan->Id());
    const bool bAll = Back.size() == m_Fans.size();
    if (m_bOnDisk) m_rRecords.Remove(Back);
    if (bAll) m_bBegun = false;
    return bAll;
}

void CFanHold::Keep() { m_bBegun = false; }

std::string CFanHold::_Cool() {
    std::string sFailed;
    for (CHeld& rHeld : m_Fans) {
        if (rHeld.pFan->SetDuty(kFullDuty) || rHeld.pFan->SetDuty(kFullDuty)) continue;
        sFailed += (sFailed.empty() ? "" : ", ") + rHeld.pFan->Name();
    }
    if (!sFailed.empty()) return "full duty could not be set on " + sFailed;
    return "every fan that was set runs at full duty now, and what was in force before is not put back" +
           std::string(m_rRecords.HasPlace() ? "; 'vxtctl fan restore' does that" : "");
}

ERunEnd CFanHold::_Look(CTimedRun& rRun, CTemperatureWatch& rWatch) {
    const auto IsFull = [](const CHeld& rHeld) { return rHeld.uPercent == kFullDuty; };
    const std::string sHot = rWatch.TooHot();
    if (!sHot.empty() && !std::ranges::all_of(m_Fans, IsFull)) {  // fans at full duty can do no more
        rRun.sReason = sHot + ": " + _Cool();
        return ERunEnd::kTooHot;
    }
    if (rRun.sReason = rWatch.Lost(); !rRun.sReason.empty()) return ERunEnd::kFailed;
    for (const CHeld& rHeld : m_Fans) {
        if (!rHeld.bTurned || rHeld.uPercent == 0 || !g_HasStopped(*rHeld.pFan, m_rLibrary)) continue;
        rRun.sReason = rHeld.pFan->Name() + " stopped";
        return ERunEnd::kStopped;
    }
    return ERunEnd::kDone;
}

std::string CFanHold::_Progress(const CTemperatureWatch& rWatch) const {
    std::string sText;  // what matters most in front: a narrow terminal shows no more
    if (const std::optional<double> oHighest = rWatch.Highest())
        sText += ", highest temperature " + vxttools::g_Trimmed(*oHighest, 1) + " °C";
    for (const CHeld& rHeld : m_Fans)
        if (const std::optional<double> oSpeed = rHeld.pFan->Speed())
            sText += ", " + rHeld.pFan->Name() + " " + vxttools::g_Trimmed(*oSpeed, 0) + " RPM";
    return sText;
}

void CFanHold::Hold(CTimedRun& rRun, const vxttools::CTool& rTool, CTemperatureWatch& rWatch) {
    try {
        g_RunFor(rRun, rTool, m_rLibrary,
                 {[&](double) { return _Look(rRun, rWatch); }, [&] { return _Progress(rWatch); }});
    } catch (const std::exception& rError) { rRun.eEnd = ERunEnd::kFailed, rRun.sReason = rError.what(); }
    rRun.oPutBack = false;
    if (rRun.eEnd == ERunEnd::kTooHot) return Keep();
    try {
        rRun.oPutBack = PutAllBack();
    } catch (const CFailure& rFailure) {  // of the record on disk, behind the fans
        rRun.sReason += (rRun.sReason.empty() ? "" : "; ") + std::string(rFailure.what());
    }
    if (!*rRun.oPutBack)
        rRun.sReason += (rRun.sReason.empty() ? "" : "; ") + std::string("a fan is not as it was before");
}

}  // namespace vxtctl
