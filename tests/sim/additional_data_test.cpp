// The DRAM controller's additional data as the simulated PC has it.
#include "sim/models/additional_data.h"

#include "sim/sim_client.h"

namespace vxtsim {
namespace {

constexpr uint32_t kWrite = 1u << 30, kDone = 1u << 31;

TEST(AdditionalData, IsThereWhereTheProcessorHasItAndBeginsAsTheMachineFileSays) {
    const struct {
        const char* pszMachine;
        std::map<uint32_t, uint32_t> Values;  ///< by index register
    } Cases[] = {{"k8-first", {}},
                 {"k8-revf-dual", {{0x98, 0x11111111}}},
                 {"family10h-ddr3", {{0x98, 0x11111111}, {0x198, 0x22222222}}},
                 {"family11h-mobile", {{0x98, 0x11111111}, {0x198, 0x22222222}}}};
    for (const auto& [pszMachine, Values] : Cases) {
        CMachineDescription Description = g_Embedded(pszMachine);
        Description.DramData = {{{0, 0x13}, 0x11111111}, {{1, 0x13}, 0x22222222}};
        CSimClient Client(std::move(Description));
        EXPECT_EQ(Client.m_Machine.Model<CAdditionalData>() == nullptr, Values.empty()) << pszMachine;
        for (const auto& [uIndexRegister, uValue] : Values) {
            Client.WritePci(CAdditionalData::kFunction, uIndexRegister, 0x13);
            for (int i = 0; i < 10 && !(Client.ReadPci(CAdditionalData::kFunction, uIndexRegister) & kDone);) ++i;
            EXPECT_EQ(Client.ReadPci(CAdditionalData::kFunction, uIndexRegister + 4), uValue) << pszMachine;
        }
    }
}

TEST(AdditionalData, AWriteReachesItsRegisterAlone) {
    CSimClient Client("family10h-ddr2");
    CAdditionalData& rModel = *Client.m_Machine.Model<CAdditionalData>();
    rModel.m_uReadsUntilDone = 1;
    Client.WritePci(CAdditionalData::kFunction, 0x19C, 0xCAFE);
    Client.WritePci(CAdditionalData::kFunction, 0x198, kWrite | 0x2FFFFFFF);
    EXPECT_EQ(Client.ReadPci(CAdditionalData::kFunction, 0x198), kDone | kWrite | 0x2FFFFFFF);
    EXPECT_EQ(rModel.Register(1, 0x2FFFFFFF), 0xCAFEu);
    EXPECT_EQ(rModel.Register(0, 0x2FFFFFFF), 0u);
    EXPECT_EQ(rModel.Register(1, 0), 0x20111222u) << "as the machine file says";
}

}  // namespace
}  // namespace vxtsim
