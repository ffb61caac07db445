#include <gtest/gtest.h>

#include <string>

#include "devices/cpu/processor_tables.h"
#include "hw/processor_family.h"
#include "support/simulated_pc.h"

namespace {

using namespace vxt;

TEST(ProcessorTables, NameRevisionsAndTheSocketsThatASignatureTells) {
    ASSERT_TRUE(g_InitProcessorTables());
    EXPECT_TRUE(g_InitProcessorTables()) << "every start of the engine fills them again";
    const struct {
        uint32_t uSignature;
        std::wstring sRevision, sSocket;
    } kCases[] = {
        {0x00020FB1, L"BH-E4", L"939"}, {0x00060FB2, L"BH-G2", L"AM2"},  {0x00100F22, L"DR-B2", L""},
        {0x00100FA0, L"PH-E0", L"AM3"}, {0x00200F31, L"LG-B1", L"S1g2"}, {0x00100F99, L"", L""},
        {0x00000000, L"", L""},
    };
    for (const auto& [uSignature, sRevision, sSocket] : kCases) {
        EXPECT_EQ(g_GetProcessorRevision(uSignature), sRevision) << std::hex << uSignature;
        EXPECT_EQ(g_GetProcessorSocket(uSignature), sSocket) << std::hex << uSignature;
    }
}

struct ProcessorTablesTest : vxttest::CSimulatedPc {};

TEST_F(ProcessorTablesTest, TheInstalledProcessorIsIdentifiedByItsSignature) {
    Start(kDefaultMachine, [](vxtsim::CMachineDescription& rMachine) { rMachine.Cpuid[{1, 0}].uEax = 0x00100F63; });
    EXPECT_EQ(g_IdentifyProcessor(), 0x00100F63u);
}

}  // namespace
