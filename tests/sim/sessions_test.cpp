// The simulated PC, asked step by step: tests/cases/sim_sessions.txt says what it answers, and what the steps mean.
#include <cmath>
#include <functional>
#include <regex>
#include <sstream>

#include "sim/models/fid_vid.h"
#include "sim/models/pstates.h"
#include "sim/models/smbus_host.h"
#include "sim/models/thermal.h"
#include "sim/sim_client.h"
#include "support/text_cases.h"

namespace vxtsim {
namespace {

/// Title and steps.
using CSession = std::pair<std::string, std::vector<std::string>>;

std::vector<CSession> g_Sessions() {
    std::vector<CSession> Sessions;
    for (const std::string& sLine : vxttest::g_CaseLines("sim_sessions.txt"))
        if (sLine.starts_with("== "))
            Sessions.emplace_back(sLine.substr(3), std::vector<std::string>());
        else
            Sessions.back().second.push_back(sLine);
    return Sessions;
}

class SimSessions : public ::testing::TestWithParam<CSession> {
protected:
    /// What a step answers; nothing when it is refused.
    using Answer = std::optional<uint64_t>;

    static Answer Done(bool bDone) { return bDone ? Answer(0) : std::nullopt; }

    void Use(CMachineDescription Description) {
        m_pClient = std::make_unique<CSimClient>(std::move(Description));
        m_pClient->m_Server.Record(&m_Trace);
        m_ullTimer = 0;
    }
    CSimMachine& Machine() { return m_pClient->m_Machine; }

    /// The words of the step: 0 is the verb. Numbers are hexadecimal.
    const std::string& Word(size_t uIndex) const { return m_Words.at(uIndex); }
    uint64_t Number(size_t uIndex) const { return std::stoull(Word(uIndex), nullptr, 16); }
    uint32_t Dword(size_t uIndex) const { return static_cast<uint32_t>(Number(uIndex)); }
    uint16_t Port(size_t uIndex) const { return static_cast<uint16_t>(Number(uIndex)); }
    CPciAddress Address() const {
        CPciAddress Address{};
        EXPECT_EQ(sscanf(Word(1).c_str(), "%hhx:%hhx.%hhx", &Address.ucBus, &Address.ucDevice, &Address.ucFunction), 3);
        return Address;
    }
    uint64_t Nanoseconds() const {
        static const std::map<std::string, uint64_t> s_Units{{"s", 1'000'000'000}, {"ms", 1'000'000}, {"us", 1'000}};
        size_t uUnit = 0;
        const uint64_t ullCount = std::stoull(Word(1), &uUnit);
        return ullCount * s_Units.at(Word(1).substr(uUnit));
    }
    /// The words from there on as a block of that size.
    std::vector<uint8_t> Block(size_t uFirst, size_t uSize) const {
        std::vector<uint8_t> Bytes;
        for (size_t i = uFirst; i < m_Words.size(); ++i) {
            const size_t uWidth = Word(i)[0] == 'w' ? 2 : Word(i)[0] == 'q' ? 8 : 4;
            const uint64_t ullWord = std::stoull(Word(i).substr(uWidth != 4), nullptr, 16);
            for (size_t u = 0; u < uWidth; ++u) Bytes.push_back(static_cast<uint8_t>(ullWord >> 8 * u));
        }
        Bytes.resize(uSize);
        return Bytes;
    }
    Answer Send(std::span<const uint8_t> In, std::span<uint8_t> Out) {
        const CControlReply Reply = m_pClient->m_Server.Control(Dword(1), m_pClient->m_uCore, In, Out);
        return Reply.bSuccess ? Answer(Reply.uReturned) : std::nullopt;
    }
    Answer Exactly() {
        const size_t uIn = Number(2), uOut = Number(3);
        const auto Try = [&](size_t uInSize, size_t uOutSize) {
            std::vector<uint8_t> Out(uOutSize);
            return Send(Block(4, uInSize), Out);
        };
        const std::pair<size_t, size_t> WrongSizes[] = {{0, uOut},
                                                        {uIn - 1, uOut},
                                                        {uIn + 1, uOut},
                                                        {uIn, uOut + 1},
                                                        {uIn, uOut ? uOut - 1 : uIn},
                                                        {uIn + 1, uOut ? uOut + 1 : 0}};
        for (const auto& [uInSize, uOutSize] : WrongSizes)
            EXPECT_EQ(Try(uInSize, uOutSize), std::nullopt) << uInSize << " bytes in and " << uOutSize << " out";
        return Try(uIn, uOut) == uOut ? Answer(0) : std::nullopt;
    }
    Answer Transfer() {
        const auto Register = [this](int nOffset) { return static_cast<uint16_t>(Port(1) + nOffset); };
        m_pClient->Out(Register(0), 0xFF);
        m_pClient->Out(Register(4), Dword(2)), m_pClient->Out(Register(3), Dword(3));
        m_pClient->Out(Register(2), Dword(4));
        EXPECT_EQ(m_pClient->In(Register(0)) & 1, 1u) << "busy at first";
        for (int i = 0; i < 1000; ++i)
            if (const uint32_t uStatus = m_pClient->In(Register(0)); !(uStatus & 1)) return uStatus;
        return 0;
    }
    Answer Plug() {
        auto* const pHost = Machine().Model<CSmbusHost>();
        pHost->m_bCollides = Word(1) == "collision";
        pHost->m_bNeverCompletes = Word(1) == "silence";
        pHost->m_bAlwaysBusy = Word(1) == "owner";
        if (Word(1) == "device") pHost->Device(0x2F) = {1, 2};
        if (auto* const pPstates = Machine().Model<CPstates>()) pPstates->m_bStuck = Word(1) == "stuck";
        if (auto* const pFidVid = Machine().Model<CFidVid>()) pFidVid->m_bStuck = Word(1) == "stuck";
        return 0;
    }
    /// A register behind an index port, read or written.
    Answer Register() {
        m_pClient->Out(Port(1), Dword(2));
        const auto usData = static_cast<uint16_t>(Port(1) + 1);
        return m_Words.size() > 3 ? Done(m_pClient->Out(usData, Dword(3))) : m_pClient->In(usData);
    }
    Answer Sensor() {
        if (auto* const pEighths = Machine().Model<CReadOnlyTemperature>())
            pEighths->SetCelsius(Dword(1) / 8.0);
        else
            Machine().Model<CThermalSelect>()->SetCelsius(Dword(1), Dword(2), static_cast<int>(Dword(3)));
        return 0;
    }
    Answer Fault() {
        const std::vector<std::string> Kinds{"", "fail", "zero", "count", "drop", "ones", "delay"};
        m_Plan = CFaultPlan::After(0, static_cast<EFault>(std::ranges::find(Kinds, Word(1)) - Kinds.begin()));
        return m_pClient->m_Server.SetFaults(&m_Plan), 0;
    }
    /// A PC that is made of this one's description, which is the same again.
    Answer Again() {
        const CMachineDescription State = g_Parsed(g_FormatMachine(Machine().Describe()));
        Use(State);
        EXPECT_EQ(Machine().Describe(), State);
        return 0;
    }
    Answer Traced() {
        const std::vector<std::string> Trace = std::exchange(m_Trace, {});
        return Done(m_sRest.empty() ? Trace.empty() : Trace == std::vector{m_sRest});
    }
    uint64_t TimerRegister() {
        if (!m_ullTimer) m_ullTimer = m_pClient->MapApicTimer();
        return m_ullTimer + Number(1);
    }
    Answer Pace() {
        const uint64_t ullFirst = m_pClient->ReadMsr(0x10).value(), ullNow = Machine().Now();
        Machine().Advance(1'000'000);
        const uint64_t ullTicks = m_pClient->ReadMsr(0x10).value() - ullFirst;
        return std::llround(static_cast<double>(ullTicks) * 1000.0 / static_cast<double>(Machine().Now() - ullNow));
    }

    const std::map<std::string, std::function<Answer()>> m_Verbs = {
        {"machine", [this] { return Use(g_Embedded(m_sRest)), 0; }},
        {"text", [this] { return Use(g_Parsed("[machine]\n" + m_sRest)), 0; }},
        {"core", [this] { return m_pClient->m_uCore = Dword(1); }},
        {"wait", [this] { return Machine().Advance(Nanoseconds()), 0; }},
        {"rdmsr", [this] { return m_pClient->ReadMsr(Dword(1)); }},
        {"wrmsr", [this] { return Done(m_pClient->WriteMsr(Dword(1), Number(2))); }},
        {"in", [this] { return m_pClient->In(Port(2), Port(1)); }},
        {"out", [this] { return Done(m_pClient->Out(Port(2), Dword(3), Port(1))); }},
        {"pcird", [this] { return m_pClient->ReadPci(Address(), Dword(2)); }},
        {"pciwr", [this] { return Done(m_pClient->WritePci(Address(), Dword(2), Dword(3))); }},
        {"memrd", [this] { return m_pClient->ReadMemory(Number(1)); }},
        {"memwr", [this] { return Done(m_pClient->WriteMemory(Number(1), Dword(2))); }},
        {"maprd", [this] { return Machine().ReadMapped(TimerRegister()); }},
        {"mapwr", [this] { return Machine().WriteMapped(TimerRegister(), Dword(2)), 0; }},
        {"setmsr", [this] { return Machine().Msr(0, Dword(1)) = Number(2); }},
        {"setpci", [this] { return Machine().SetPciDword(Address(), Dword(2), Dword(3)), 0; }},
        {"cpuid", [this] { return Machine().Cpuid(0, Dword(1), Dword(2)).uEax; }},
        {"ask",
         [this] { return m_pClient->m_Block = Block(3, Number(2)), Send(m_pClient->m_Block, m_pClient->m_Block); }},
        {"tell", [this] { return Send(Block(3, Number(2)), {}); }},
        {"last", [this] { return m_pClient->At(Number(1)); }},
        {"exactly", [this] { return Exactly(); }},
        {"transfer", [this] { return Transfer(); }},
        {"plug", [this] { return Plug(); }},
        {"sensor", [this] { return Sensor(); }},
        {"at", [this] { return Register(); }},
        {"load", [this] { return Machine().SetLoad(Dword(1), Dword(2) / 100.0), 0; }},
        {"fault", [this] { return Fault(); }},
        {"again", [this] { return Again(); }},
        {"changes", [this] { return Machine().Changes(); }},
        {"traced", [this] { return Traced(); }},
        {"pace", [this] { return Pace(); }},
        {"now", [this] { return Machine().Now(); }},
        {"older", [this] { return m_pClient->m_Server.m_bKnowsNewPciRequests = false; }}};

    std::vector<std::string> m_Words;
    std::string m_sRest;  ///< what stands behind the verb
    std::unique_ptr<CSimClient> m_pClient;
    std::vector<std::string> m_Trace;
    CFaultPlan m_Plan;
    uint64_t m_ullTimer = 0;
};

TEST_P(SimSessions, AnswersAsWritten) {
    // Verb, the rest, mask and answer. The equals sign of a machine's text is none of ours.
    static const std::regex s_Step("(\\w+)(?:| (.*?))(?: & ([0-9A-F]+))?(?: = (refused|[0-9A-F]+))?(?:  # .*)?"),
        s_Text("(text) (.*?)()()(?:  # .*)?");
    for (const std::string& sLine : GetParam().second) {
        SCOPED_TRACE(sLine);
        std::smatch Parts;
        ASSERT_TRUE(std::regex_match(sLine, Parts, sLine.starts_with("text") ? s_Text : s_Step));
        const std::string sVerb = Parts[1], sMask = Parts[3], sExpected = Parts[4];
        m_sRest = std::regex_replace(Parts[2].str(), std::regex("~"), "\n");
        std::istringstream Words(sVerb + " " + m_sRest);
        m_Words.assign(std::istream_iterator<std::string>(Words), {});
        const Answer oAnswer = m_Verbs.at(sVerb)();
        ASSERT_EQ(oAnswer.has_value(), sExpected != "refused");
        if (!oAnswer || sExpected.empty()) continue;
        const uint64_t ullMask = sMask.empty() ? ~uint64_t{0} : std::stoull(sMask, nullptr, 16);
        EXPECT_EQ(*oAnswer & ullMask, std::stoull(sExpected, nullptr, 16)) << std::hex << *oAnswer;
    }
}
INSTANTIATE_TEST_SUITE_P(All, SimSessions, ::testing::ValuesIn(g_Sessions()), [](const auto& rInfo) {
    std::string sName;
    bool bCapital = true;
    for (const char c : rInfo.param.first) {
        if (std::isalnum(c)) sName += static_cast<char>(bCapital ? std::toupper(c) : c);
        bCapital = c == ' ';
    }
    return sName;
});

}  // namespace
}  // namespace vxtsim
