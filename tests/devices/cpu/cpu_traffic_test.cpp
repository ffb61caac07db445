// What the operations of every family answer, ask the hardware and log: one runner for tests/cases/cpu_traffic.txt.
#include <sstream>

#include "devices/cpu/cpu_fixture.h"
#include "sim/models/fid_vid.h"

namespace {

using vxtapi::CPstate;
using namespace vxttest;

double CPstate::*g_Slot(const std::string& sName) {
    static const std::map<std::string, double CPstate::*> s_Slots = {
        {"FID", &CPstate::dCpuFid},       {"DID", &CPstate::dCpuDid},        {"VID", &CPstate::dCpuVid},
        {"NbDid", &CPstate::dNbDid},      {"NbVid", &CPstate::dNbVid},       {"IddDiv", &CPstate::dIddDiv},
        {"Enabled", &CPstate::dPstateEn}, {"MHz", &CPstate::dCoreFrequency}, {"Volts", &CPstate::dCoreVoltage},
    };
    return s_Slots.at(sName);
}

struct CpuTraffic : CProcessorTest {
    static std::string YesOrNo(bool bDone) { return bDone ? "yes" : "no"; }

    /// The answer of an operation: its name and numbers.
    std::string Run(vxt::CFamilyCPU& rCpu, const std::string& sOperation) {
        std::istringstream Words(sOperation);
        std::string sName, sFirst, sSecond;
        Words >> sName >> sFirst >> sSecond;
        const uint32_t uNumber = static_cast<uint32_t>(std::atoi(sFirst.c_str()));
        CPstate Pstate{};
        Pstate.dUnused = 99;
        if (sName == "read")
            return g_JoinNumbers({rCpu.GetCurrentMultiplier(), rCpu.GetCurrentVoltage(), rCpu.GetCurrentNBVoltage(),
                                  rCpu.GetCurrentNBMultiplier(), static_cast<double>(rCpu.GetMaxPstate()),
                                  static_cast<double>(rCpu.GetCurPstate())});
        if (sName == "start") {
            if (!rCpu.Init(0)) return "no";
            const vxt::CFvInfo& rInfo = rCpu.GetFvInfo();
            return "yes " +
                   g_Text(rCpu.GetMaxMultiplier(), rCpu.GetStartVoltage(), rCpu.GetMaxRampVoltage(),
                          rCpu.IsMultiplierLimited(), rCpu.GetSecondCapability()) +
                   "; " + g_Text(rCpu.GetNominalFrequency() / 1e6) + "; " +
                   g_Text(rInfo.dStartMultiplier, rInfo.dMinVoltage, rInfo.dMaxVoltage, rInfo.dPstate0Multiplier);
        }
        if (sName == "multiplier") return YesOrNo(rCpu.SetCurrentMultiplier(std::stod(sFirst)));
        if (sName == "voltage") return YesOrNo(rCpu.SetCurrentVoltage(std::stod(sFirst)));
        if (sName == "state") return YesOrNo(rCpu.SetCurPstate(uNumber));
        if (sName == "definition") {
            if (!rCpu.GetPstate(uNumber, &Pstate)) return "no";
            return "yes " +
                   g_Text(Pstate.dCpuFid, Pstate.dCpuDid, Pstate.dCpuVid, Pstate.dNbDid, Pstate.dNbVid, Pstate.dIddDiv,
                          Pstate.dPstateEn, Pstate.dUnused) +
                   "; " +
                   g_Text(Pstate.dCoreFrequency, Pstate.dCoreVoltage, Pstate.dNbFrequency, Pstate.dNbVoltage,
                          Pstate.bPstateEn);
        }
        if (sName == "define") {
            rCpu.GetPstate(uNumber, &Pstate);
            TakeTrace(), m_Log.Take();
            const size_t uEqual = sSecond.find('=');
            if (!sSecond.empty()) Pstate.*g_Slot(sSecond.substr(0, uEqual)) = std::stod(sSecond.substr(uEqual + 1));
            Pstate.bPstateEn = !Pstate.bPstateEn;
            return YesOrNo(rCpu.SetPstate(uNumber, &Pstate));
        }
        if (sName == "boost") {
            if (!sFirst.empty()) return YesOrNo(rCpu.SetBoostState(uNumber != 0, sSecond == "1"));
            bool bSupported = true, bEnabled = true;
            const std::string sDone = YesOrNo(rCpu.GetBoostState(&bSupported, &bEnabled));
            return sDone + ' ' + g_Text(bSupported, bEnabled);
        }
        if (sName != "temperature") return "no such operation";
        EXPECT_TRUE(rCpu.Init(0));
        TakeTrace();
        const void* const pReading = rCpu.GetThermTrip();
        if (!pReading) return "none";
        return &rCpu == &m_FirstK8 ? g_Text(*static_cast<const int32_t*>(pReading))
                                   : g_Text(*static_cast<const double*>(pReading));
    }

    vxt::CCorvel64CPU m_FirstK8 = g_Make<vxt::CCorvel64CPU>();
    vxt::CCorvel64X2CPU m_RevisionF = g_Make<vxt::CCorvel64X2CPU>();
    vxt::CBrevikCPU m_10h = g_Make<vxt::CBrevikCPU>();
    vxt::CTalvorCPU m_11h = g_Make<vxt::CTalvorCPU>();
    const std::map<std::string, vxt::CFamilyCPU*> m_Cpus = {
        {"first K8", &m_FirstK8}, {"revision F", &m_RevisionF}, {"10h", &m_10h}, {"11h", &m_11h}};
};

TEST_F(CpuTraffic, EveryOperationAnswersAsksAndLogsWhatItsRowSays) {
    for (const auto& rRow : g_CaseRows("cpu_traffic.txt")) {
        ASSERT_GE(rRow.size(), 5u) << rRow[0];
        SCOPED_TRACE(rRow[0] + " | " + rRow[1] + " | " + rRow[2]);
        vxt::CFamilyCPU& rCpu = *m_Cpus.at(rRow[0]);
        StartProcessor(rRow[0], rRow[1]);
        // A request takes 5 us: a transition is pending for two reads after the write.
        if (&rCpu == &m_RevisionF) Machine().Plug<vxtsim::CFidVid>(true).m_ullDelay = 12'000;
        EXPECT_EQ(Run(rCpu, rRow[2]), rRow[3]);
        std::string sRequests;
        for (const std::string& sRequest : TakeRequests()) sRequests += (sRequests.empty() ? "" : "; ") + sRequest;
        EXPECT_EQ(sRequests.empty() ? "-" : sRequests, rRow[4]);
        Lines Expected;
        if (rRow.size() > 5)
            if (const size_t uIn = rRow[5].rfind(" in "); uIn != std::string::npos)
                Expected = {g_ProcessError(rRow[5].substr(0, uIn), rRow[5].substr(uIn + 4))};
        EXPECT_EQ(m_Log.TakeErrors(), Expected);
        rCpu.UnInit();
    }
}

}  // namespace
