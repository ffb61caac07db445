// The fans that a command sets: what was in force before is known before the first write, and comes back on every way out
// that does not keep the new duty.
#pragma once

#include "fan_watch.h"
#include "hold_records.h"
#include "timed_run.h"

namespace vxtctl {

class CFanHold {
public:
    /// With `bOnDisk` what was in force is also kept where the next process finds it.
    CFanHold(const CHostLibrary& rLibrary, CHoldRecords& rRecords, bool bOnDisk)
        : m_rLibrary(rLibrary), m_rRecords(rRecords), m_bOnDisk(bOnDisk) {}
    CFanHold(const CFanHold&) = delete;
    /// Puts everything back unless it has been, or is to stay.
    ~CFanHold();

    void Add(CFan& rFan) { m_Fans.push_back({&rFan}); }

    /// Before the first write: knows what is in force, or ends the command. Later calls do nothing.
    void Begin();
    bool SetDuty(CFan& rFan, uint32_t uPercent);
    /// A fan that turned when its duty was set has not stopped since; an empty text, or why it cannot stay so.
    std::string WhyItCannotStay(const CFan& rFan) const;
    bool PutBack(CFan& rFan);

    /// Holds what was set for so long, and puts it back. Whatever goes wrong becomes part of how it went.
    void Hold(CTimedRun& rRun, const vxttools::CTool& rTool, CTemperatureWatch& rWatch);
    /// False: a fan is not as it was.
    bool PutAllBack();
    /// What was set stays when this goes.
    void Keep();

private:
    struct CHeld {
        CFan* pFan;
        CFanState Before = {};
        bool bChanged = false, bTurned = false;
        uint32_t uPercent = 0;
    };
    CHeld& _Held(const CFan& rFan);
    const CHeld& _Held(const CFan& rFan) const { return const_cast<CFanHold*>(this)->_Held(rFan); }
    ERunEnd _Look(CTimedRun& rRun, CTemperatureWatch& rWatch);
    /// Full duty for every fan that was set. Says what came of it.
    std::string _Cool();
    std::string _Progress(const CTemperatureWatch& rWatch) const;

    const CHostLibrary& m_rLibrary;
    CHoldRecords& m_rRecords;
    const bool m_bOnDisk;
    bool m_bBegun = false;
    std::vector<CHeld> m_Fans;
};

}  // namespace vxtctl
