// SPD data of any content: what comes out is unknown, or a number that a module can have.
#include <cmath>

#include "devices/memory/spd.h"

namespace {

void Check(bool bHolds) {
    if (!bHolds) __builtin_trap();
}

bool IsNumber(double dValue, double dMost) { return std::isfinite(dValue) && dValue > 0 && dValue <= dMost; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t uSize) {
    const vxt::CSpdRecord Record = vxt::g_DecodeSpd({pData, uSize});
    Check(Record.szPartNumber[vxt::CSpdRecord::kPartNumber] == 0);
    Check(!Record.ouSize || (*Record.ouSize >= 1 && *Record.ouSize <= 1u << 20));
    Check(!Record.oucWeek || (*Record.oucWeek >= 1 && *Record.oucWeek <= 53));
    double dBefore = 2000;  // MHz
    for (const vxt::CSpdGrade& rGrade : Record.Grades) {
        Check(IsNumber(rGrade.dClock, dBefore) && rGrade.dCasLatency >= 1 && rGrade.dCasLatency <= 18);
        dBefore = rGrade.dClock;
        for (const auto& roTime : rGrade.aoTimes)
            Check(!roTime || (IsNumber(roTime->dNs, 5e6) && IsNumber(roTime->dClocks, 1e7) && roTime->dClocks >= 1));
    }
    return 0;
}
