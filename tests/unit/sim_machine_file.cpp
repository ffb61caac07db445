// The text form of machines: what it says, what it refuses and how it says so.
#include <cstdio>

#include "sim_client.h"

namespace vxtsim {
namespace {

TEST(MachineFile, SaysAllOfAPc) {
    const CMachineDescription Machine = g_Parsed(
        "# a comment\r\n"
        "[machine]\r\n"
        "name = PC #7, \"best\"\r\n"
        "cores = 2\n"
        "reference_clock = 200.9   # MHz\n"
        "[cpuid]\n"
        "00000001 = 00100F42 00020800 00802009 178BFBFF\n"
        "0000000B.1 = 1 2 3 0x4\n"
        "[msr]\n"
        "C0010071 = 008000033C00200E\n"
        "[msr core 1]\n"
        "C0010071 = 1\n"
        "[pci 00:18.2]\n"
        "00: 22 10 02 12\n"
        "80: 7a 00 00 00 # sparse\n"
        "[pci 02:1f.7]\n"
        "f0: 01\n"
        "ff0: 02\n"
        "[memory 000E0000]\n"
        "10: AA BB\n"
        "CC\n"
        "[acpi APIC]\n"
        "41 50 49 43 0B 00 00 00 01 77 05\n"
        "checksum = complete\n"
        "[acpi SSDT]\n"
        "[acpi SSDT]\n"
        "[dram_data]\n"
        "1.13 = 2e  # a delay\n"
        "[ports]\n"
        "0B00 = 01 02\n"
        "[smbus 50]\n"
        "03: 92\n"
        "[registry]\n"
        "Software\\Maker\\Program!Accepted = dword:1\n"
        "Software\\Maker\\Program!Folder = sz:C:\\a = b # c\n");

    EXPECT_EQ(Machine.sName, "PC #7, \"best\"");
    EXPECT_EQ(Machine.uCores, 2u);
    EXPECT_DOUBLE_EQ(Machine.dReferenceMHz, 200.9);
    EXPECT_EQ(Machine.Cpuid.at({1, 0}), (CCpuidResult{0x00100F42, 0x00020800, 0x00802009, 0x178BFBFF}));
    EXPECT_EQ(Machine.Cpuid.at({0xB, 1}), (CCpuidResult{1, 2, 3, 4}));
    EXPECT_EQ(Machine.Msr.at({kAllCores, 0xC0010071}), 0x008000033C00200E);
    EXPECT_EQ(Machine.Msr.at({1, 0xC0010071}), 1u);
    EXPECT_EQ(Machine.Pci.at({0, 0x18, 2}).size(), 256u);
    EXPECT_EQ(Machine.Pci.at({0, 0x18, 2})[0x80], 0x7A);
    EXPECT_EQ(Machine.Pci.at({2, 0x1F, 7}).size(), 4096u);
    EXPECT_EQ(Machine.Pci.at({2, 0x1F, 7})[0xFF0], 2);
    const std::vector<uint8_t> Region{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xAA, 0xBB, 0xCC};
    EXPECT_EQ(Machine.Memory.at(0xE0000), Region);
    ASSERT_EQ(Machine.Acpi.size(), 3u);
    uint8_t ucSum = 0;
    for (const uint8_t ucByte : Machine.Acpi[0].second) ucSum = static_cast<uint8_t>(ucSum + ucByte);
    EXPECT_EQ(ucSum, 0);
    EXPECT_EQ(Machine.DramData, (std::map<std::pair<uint32_t, uint32_t>, uint32_t>{{{1, 0x13}, 0x2E}}));
    EXPECT_EQ(Machine.Ports, (std::map<uint16_t, uint8_t>{{0xB00, 1}, {0xB01, 2}}));
    EXPECT_EQ(Machine.Smbus.at(0x50), (std::vector<uint8_t>{0, 0, 0, 0x92}));
    EXPECT_EQ(Machine.Registry.at("Software\\Maker\\Program!Accepted"), "dword:1");
    EXPECT_EQ(Machine.Registry.at("Software\\Maker\\Program!Folder"), "sz:C:\\a = b # c");

    CMachineDescription Again;
    std::string sError;
    EXPECT_TRUE(g_ParseMachine(g_FormatMachine(Machine), "again", Again, sError)) << sError;
    EXPECT_EQ(Again, Machine);
}

TEST(MachineFile, NamesFileLineAndWhatWasExpected) {
    constexpr struct {
        const char* pszCase;
        const char* pszText;
        const char* pszError;
    } kCases[] = {
        {"nothing", "", "f:0: expected a [machine] section, found none"},
        {"line before a section", "\n\ncores = 1\n", "f:3: expected a section like [machine], found cores = 1"},
        {"later section", "[machine]\n[wmi root\\wmi]\n",
         "f:2: expected a section that this program knows (machine, cpuid, msr, pci, memory, acpi, dram_data, ports, "
         "smbus, registry), found [wmi root\\wmi]"},
        {"open heading", "[machine\n", "f:1: expected a section heading that ends with ], found [machine"},
        {"argument too many", "[cpuid 1]\n", "f:1: expected [cpuid], found [cpuid 1]"},
        {"no cores", "[machine]\ncores = 0\n", "f:2: expected 1 to 64 cores, found 0"},
        {"too many cores", "[machine]\ncores = 65\n", "f:2: expected 1 to 64 cores, found 65"},
        {"half a core", "[machine]\ncores = 1.5\n", "f:2: expected 1 to 64 cores, found 1.5"},
        {"clock of another unit", "[machine]\nreference_clock = 200000000\n",
         "f:2: expected a clock of 1 to 1000 MHz, found 200000000"},
        {"unknown key", "[machine]\ncpu = 1\n", "f:2: expected name, cores or reference_clock, found cpu"},
        {"no equal sign", "[machine]\ncores\n", "f:2: expected a line with =, found cores"},
        {"long leaf", "[cpuid]\n100000000 = 0 0 0 0\n",
         "f:2: expected a leaf like 80000001 or 0000000B.1, found 100000000"},
        {"three registers", "[cpuid]\n1 = 0 0 0\n", "f:2: expected four registers of up to 8 digits, found 0 0 0"},
        {"five registers", "[cpuid]\n1 = 0 0 0 0 0\n",
         "f:2: expected four registers of up to 8 digits, found 0 0 0 0 0"},
        {"leaf twice", "[cpuid]\n1 = 0 0 0 0\n01.0 = 0 0 0 0\n", "f:3: expected each leaf once, found 01.0 again"},
        {"register without digits", "[msr]\nTSC = 1\n", "f:2: expected a register index of up to 8 digits, found TSC"},
        {"value too long", "[msr]\n10 = 00000000000000001\n",
         "f:2: expected a value of up to 16 digits, found 00000000000000001"},
        {"register twice", "[msr]\n10 = 1\n10 = 1\n", "f:3: expected each register once, found 10 again"},
        {"core of no number", "[msr core x]\n", "f:1: expected [msr] or [msr core N], found [msr core x]"},
        {"core that is not there", "[machine]\ncores = 2\n[msr core 2]\n10 = 1\n",
         "f:3: expected a core below 2, found 2"},
        {"device out of range", "[pci 00:20.0]\n", "f:1: expected [pci BUS:DEVICE.FUNCTION], found [pci 00:20.0]"},
        {"function out of range", "[pci 00:18.8]\n", "f:1: expected [pci BUS:DEVICE.FUNCTION], found [pci 00:18.8]"},
        {"function twice", "[pci 00:18.0]\n[pci 0:18.0]\n", "f:2: expected each dump once, found 0:18.0 again"},
        {"offset past the space", "[pci 00:18.0]\n1000: 00\n",
         "f:2: expected an offset from 0 below 1000, found 1000:"},
        {"bytes past the space", "[pci 00:18.0]\nfff: 00 01\n", "f:2: expected at most 1000 bytes, found more"},
        {"offset going back", "[memory 0]\n10: 00\n10: 00\n",
         "f:3: expected an offset from 11 below 400000, found 10:"},
        {"odd digits", "[memory 0]\n00: 0\n", "f:2: expected bytes of two digits, found 0"},
        {"no hexadecimal", "[memory 0]\n00: 0g\n", "f:2: expected bytes of two digits, found 0g"},
        {"huge region", "[memory 0]\nffffffff: 00\n", "f:2: expected an offset from 0 below 400000, found ffffffff:"},
        {"long signature", "[acpi APIC2]\n",
         "f:1: expected [acpi SIGNATURE] of four letters or digits, found [acpi APIC2]"},
        {"odd signature", "[acpi A:IC]\n",
         "f:1: expected [acpi SIGNATURE] of four letters or digits, found [acpi A:IC]"},
        {"sum of no table", "[acpi APIC]\n41\nchecksum = complete\n",
         "f:3: expected a table of at least 10 bytes, found fewer"},
        {"other sum", "[acpi APIC]\nchecksum = 12\n",
         "f:2: expected dump lines or checksum = complete, found checksum = 12"},
        {"third pair", "[dram_data]\n2.00 = 0\n", "f:2: expected a register like 0.00 or 1.13, found 2.00"},
        {"pair alone", "[dram_data]\n0 = 0\n", "f:2: expected a register like 0.00 or 1.13, found 0"},
        {"index past the last", "[dram_data]\n0.40000000 = 0\n",
         "f:2: expected a register like 0.00 or 1.13, found 0.40000000"},
        {"no value", "[dram_data]\n0.00 = x\n", "f:2: expected a value of up to 8 digits, found x"},
        {"data twice", "[dram_data]\n0.00 = 0\n0.0 = 0\n", "f:3: expected each register once, found 0.0 again"},
        {"ports past the last", "[ports]\nFFFF = 01 02\n", "f:2: expected ports up to FFFF, found more bytes"},
        {"port without a byte", "[ports]\n80 =\n", "f:2: expected bytes of up to 2 digits, found nothing"},
        {"eight-bit address", "[smbus A0]\n", "f:1: expected [smbus ADDRESS] from 00 to 7F, found [smbus A0]"},
        {"value without a key", "[registry]\n!x = dword:1\n", "f:2: expected a name like key\\path!value, found !x"},
        {"value of no type", "[registry]\na!x = 1\n", "f:2: expected dword:00000000 or sz:text, found 1"},
        {"unprintable", "[machine]\n\x01\xFF = 1\n", "f:2: expected name, cores or reference_clock, found ??"},
    };
    for (const auto& [pszCase, pszText, pszError] : kCases) {
        CMachineDescription Machine;
        std::string sError;
        EXPECT_FALSE(g_ParseMachine(pszText, "f", Machine, sError)) << pszCase;
        EXPECT_EQ(sError, pszError) << pszCase;
    }
}

TEST(MachineFile, RefusesToGrowBeyondItsBudget) {
    std::string sText = "[machine]\n";
    for (int i = 0; i < 9; ++i) sText += "[memory " + std::to_string(i) + "0000000]\n3fffff: 00\n";
    CMachineDescription Machine;
    std::string sError;
    EXPECT_FALSE(g_ParseMachine(sText, "f", Machine, sError));
    EXPECT_EQ(sError, "f:19: expected at most 32 MiB of data, found more");
}

TEST(MachineFile, EveryBuiltInMachineSurvivesTheWayThroughText) {
    const std::vector<std::string> Names = g_MachineNames();
    EXPECT_EQ(Names, (std::vector<std::string>{"family10h-ddr2", "family10h-ddr3", "family11h-mobile", "k8-first",
                                               "k8-revf-dual"}));
    for (const std::string& sName : Names) {
        const CMachineDescription Machine = g_Embedded(sName);
        EXPECT_EQ(g_Parsed(g_FormatMachine(Machine)), Machine) << sName;
    }
}

TEST(MachineFile, IsLoadedFromAPathAndAMissingOneNamesTheBuiltInMachines) {
    CMachineDescription Machine;
    std::string sError;
    EXPECT_FALSE(g_LoadMachine("/no/such/file", Machine, sError));
    EXPECT_EQ(sError,
              "/no/such/file: expected a readable machine file or one of the built-in machines family10h-ddr2 "
              "family10h-ddr3 family11h-mobile k8-first k8-revf-dual");
    EXPECT_FALSE(g_LoadMachine("/", Machine, sError)) << "a folder is no file";

    const std::string sPath = testing::TempDir() + "sim_machine_file.machine";
    FILE* pFile = std::fopen(sPath.c_str(), "wb");
    ASSERT_NE(pFile, nullptr);
    const std::string sText = g_FormatMachine(g_Embedded("k8-first"));
    EXPECT_EQ(std::fwrite(sText.data(), 1, sText.size(), pFile), sText.size());
    std::fclose(pFile);
    EXPECT_TRUE(g_LoadMachine(sPath, Machine, sError)) << sError;
    EXPECT_EQ(Machine, g_Embedded("k8-first"));
    std::remove(sPath.c_str());
}

}  // namespace
}  // namespace vxtsim
