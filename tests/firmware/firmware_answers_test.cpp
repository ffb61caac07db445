// Whatever a broken firmware answers, the operation fails and the log says which check its answer did not pass.
#include "devices/chipset/clock_generator.h"
#include "devices/chipset/voltage_controllers.h"
#include "firmware/bios_command.h"
#include "firmware/bios_device.h"
#include "firmware/firmware_fixture.h"
#include "support/devices.h"
#include "support/text_cases.h"

namespace {

using namespace vxttest;

std::vector<std::string> g_Split(std::string sText, const std::string& sBy) {
    std::vector<std::string> Parts;
    if (sText == "-") return Parts;  // none
    for (size_t u; (u = sText.find(sBy)) != sText.npos; sText.erase(0, u + sBy.size()))
        Parts.push_back(sText.substr(0, u));
    Parts.push_back(sText);
    return Parts;
}

struct CFirmwareAnswers : CFirmwarePc {
    static constexpr uint32_t kObject = 0x01010000;

    /// True: it did its work, or left something behind that it should not.
    bool Succeeds(const std::string& sOperation) {
        vxt::CQORBIOS Bios(vxt::g_GetFirmwareWmi());
        const std::map<std::string, std::function<bool()>> Operations = {
            {"Init", [&] { return Handler().Init() || Handler().IsAvailable(); }},
            {"GetObjectID",
             [&] {
                 vxt::CCapabilityPack Pack;
                 Pack.IDCount = 77;
                 return Handler().GetObjectID(Pack) || Pack.IDCount != 77;
             }},
            {"GetValue", [&] { return Handler().GetValue(kObject) != 0.0; }},
            {"SetValue", [&] { return Handler().SetValue(kObject, 200000); }},
            {"GetInfo",
             [&] {
                 std::vector<uint32_t> Info;
                 return Handler().GetInfo(kObject, Info);
             }},
            {"GetDValues",
             [&] {
                 double adValues[8];
                 int32_t nCount = 8;
                 return Handler().GetDValues(kObject, adValues, nCount) || nCount != 8;
             }},
            {"Commands", [&] { return Bios.Init() || !Bios.GetCommandList().empty(); }},
            {"RunCommand",
             [&] {
                 const vxt::QOR_BIOS_COMMAND Command{.uCode = 0x00030001, .aucArguments = {}};
                 vxt::QOR_BIOS_RESULT Result{.uRetCode = 0x1234, .aucData = {}};  // what is prepared comes back
                 return Bios.RunCommand(&Command, sizeof(Command), &Result, 8) != 0x1234;
             }},
            {"ClockGen", [&] { return g_Make<vxt::CDefaultClockGen>().Init(0); }},
            {"Customer", [&] { return g_Make<vxt::CCustomerPWMController>().Init(0); }},
            {"Default", [&] { return g_Make<vxt::CDefaultPWMController>().Init(0); }},
            {"Bios", [&] { return g_Make<vxt::CDefaultBIOS>().Init(0); }},
        };
        return Operations.at(sOperation)();
    }
};

TEST_F(CFirmwareAnswers, ThatAreWrongAreNamed) {
    for (const auto& rRow : g_CaseRows("firmware_answers.txt")) {
        ASSERT_EQ(rRow.size(), 3u) << rRow[0];
        const auto& [sOperation, sAnswers, sLines] = std::tie(rRow[0], rRow[1], rRow[2]);
        SCOPED_TRACE(sOperation + " | " + sAnswers);
        std::string sMore, sText = kFirmware + kBios;
        for (const std::string& sAnswer : g_Split(sAnswers, " // ")) {
            const size_t uColon = sAnswer.find(": "), uArrow = sAnswer.find(" =>");
            if (sAnswer.starts_with("-: ")) {
                const std::string sOld = sAnswer.substr(3, uArrow - 3);
                ASSERT_NE(sText.find(sOld), sText.npos) << sOld;
                sText.replace(sText.find(sOld), sOld.size(), sAnswer.substr(std::min(uArrow + 4, sAnswer.size())));
            } else {
                sMore += g_Answer(sAnswer.substr(0, uColon), sAnswer.substr(uColon + 2));
            }
        }
        Boot(sMore, sText);
        if (sOperation != "Init") Handler().Init(), m_Log.Take();
        EXPECT_FALSE(Succeeds(sOperation));
        Lines Expected;
        for (const std::string& sLine : g_Split(sLines, "; ")) {
            const bool bCom = sLine.starts_with("com:");
            const size_t uAt = sLine.find(" @ "), uText = bCom ? 4 : 0;
            const std::string sCheck = sLine.substr(uText, uAt - uText), sFunction = sLine.substr(uAt + 3);
            Expected.push_back(bCom ? g_ComError(sCheck, sFunction) : g_ProcessError(sCheck, sFunction));
        }
        EXPECT_EQ(m_Log.TakeErrors(), Expected);
    }
}

}  // namespace
