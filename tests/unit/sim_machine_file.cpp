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

std::string g_ErrorOf(const std::string& sText) {
    CMachineDescription Machine;
    std::string sError;
    EXPECT_FALSE(g_ParseMachine(sText, "f", Machine, sError)) << sText.substr(0, 200);
    return sError;
}

TEST(MachineFile, NamesFileLineAndWhatWasExpected) {
    constexpr struct {
        const char* pszCase;
        const char* pszText;
        const char* pszError;
    } kCases[] = {
        {"nothing", "", "f:0: expected a [machine] section, found none"},
        {"line before a section", "\n\ncores = 1\n", "f:3: expected a section like [machine], found cores = 1"},
        {"later section", "[machine]\n[superio 2E]\n",
         "f:2: expected a section that this program knows (machine, cpuid, msr, pci, memory, acpi, dram_data, ports, "
         "smbus, registry, wmi, firmware), found [superio 2E]"},
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
    for (const auto& [pszCase, pszText, pszError] : kCases) EXPECT_EQ(g_ErrorOf(pszText), pszError) << pszCase;
}

constexpr const char* kFirmwareMachine = R"([machine]
[wmi ROOT\CIMV2 Win32_BIOS]
Manufacturer = text: two words # no comment
SerialNumber = null # a comment
Number = number:-2147483648
Big_Number = number: 2147483647
Yes = bool:1
Nothing = empty
[wmi root\cimv2 Win32_BIOS]
[wmi root\wmi Odd]
numbers = numbers:1 -2 3   # three
no_numbers = numbers:
bytes = bytes:0A f
texts = texts:a||c
one = texts:|
no_texts = texts:
other = other:16387
null_numbers = null_numbers
null_bytes = null_bytes
null_texts = null_texts
no_data = no_data
text = text:
[firmware]
version = -3
commands = 00030001 ffffffff
vendor = 0123456789012345678901234567890123456789012345678901234567890123
graphics = 5A 2
static_methods = 1
[firmware object 01010000]
name = The clock = first
property = 4294967295
value = -5
values = -5 0 200000
info = 0 4294967295
status = -1
stuck = 1
[firmware object 0]
[firmware item]
name = Core Trim Boost
value = 65535
options = Disabled||Auto
[firmware item]
[firmware command 00050001]
result = 01 2 # two
[firmware command 50002]
[firmware answer GetValue]
pack = null
status = missing
value = text:a | b
fails = 1
delay = 3600000
)";

TEST(MachineFile, SaysAllOfTheFirmwareAndOfManagementData) {
    const CMachineDescription Machine = g_Parsed(kFirmwareMachine);
    ASSERT_EQ(Machine.Wmi.size(), 3u);
    const CWmiInstance& rBios = Machine.Wmi[0];
    EXPECT_EQ(rBios.sNamespace, "root\\cimv2");
    EXPECT_EQ(rBios.sClass, "Win32_BIOS");
    EXPECT_EQ(rBios.Properties.at("Manufacturer"), CWmiValue::Text(" two words # no comment"));
    EXPECT_EQ(rBios.Properties.at("SerialNumber"), CWmiValue::Typed(CWmiValue::kNull));
    EXPECT_EQ(rBios.Properties.at("Number"), CWmiValue::Integer(INT32_MIN));
    EXPECT_EQ(rBios.Properties.at("Big_Number"), CWmiValue::Integer(INT32_MAX));
    EXPECT_EQ(rBios.Properties.at("Yes").nNumber, 1);
    EXPECT_EQ(rBios.Properties.at("Nothing"), CWmiValue());
    EXPECT_TRUE(Machine.Wmi[1].Properties.empty());
    const auto& rOdd = Machine.Wmi[2].Properties;
    EXPECT_EQ(rOdd.at("numbers"), CWmiValue::IntegerArray({1, -2, 3}));
    EXPECT_EQ(rOdd.at("no_numbers"), CWmiValue::IntegerArray({}));
    EXPECT_EQ(rOdd.at("bytes"), CWmiValue::ByteArray({10, 15}));
    EXPECT_EQ(rOdd.at("texts"), CWmiValue::TextArray({"a", "", "c"}));
    EXPECT_EQ(rOdd.at("one"), CWmiValue::TextArray({"", ""}));
    EXPECT_EQ(rOdd.at("no_texts"), CWmiValue::TextArray({}));
    EXPECT_EQ(rOdd.at("other").usType, 16387);
    EXPECT_EQ(rOdd.at("text"), CWmiValue::Text(""));
    const struct {
        const char* pszName;
        uint16_t usType;
        bool bNullArray, bNoData;
    } Broken[] = {{"null_numbers", CWmiValue::kIntegers, true, false},
                  {"null_bytes", CWmiValue::kBytes, true, false},
                  {"null_texts", CWmiValue::kTexts, true, false},
                  {"no_data", CWmiValue::kIntegers, false, true}};
    for (const auto& [pszName, usType, bNullArray, bNoData] : Broken) {
        EXPECT_EQ(rOdd.at(pszName).usType, usType) << pszName;
        EXPECT_EQ(rOdd.at(pszName).bNullArray, bNullArray) << pszName;
        EXPECT_EQ(rOdd.at(pszName).bNoData, bNoData) << pszName;
    }

    EXPECT_NE(rOdd.at("no_data"), rOdd.at("no_numbers"));
    EXPECT_NE(rOdd.at("null_numbers"), rOdd.at("no_numbers"));

    ASSERT_TRUE(Machine.Firmware);
    const CFirmwareDescription& rFirmware = *Machine.Firmware;
    EXPECT_EQ(rFirmware.nVersion, -3);
    EXPECT_EQ(rFirmware.Commands, (std::vector<uint32_t>{0x00030001, 0xFFFFFFFF}));
    EXPECT_EQ(rFirmware.sVendor.size(), 64u);
    EXPECT_EQ(rFirmware.ucGraphics, 0x5A);
    EXPECT_EQ(rFirmware.ucGraphicsPresent, 2);
    EXPECT_TRUE(rFirmware.bStaticMethods);
    ASSERT_EQ(rFirmware.Objects.size(), 2u);
    const CFirmwareObject& rClock = rFirmware.Objects[0];
    EXPECT_EQ(rClock.uId, 0x01010000u);
    EXPECT_EQ(rClock.sName, "The clock = first");
    EXPECT_EQ(rClock.uProperty, 0xFFFFFFFFu);
    EXPECT_EQ(rClock.nValue, -5);
    EXPECT_EQ(rClock.Values, (std::vector<int32_t>{-5, 0, 200000}));
    EXPECT_EQ(rClock.Info, (std::vector<uint32_t>{0, 0xFFFFFFFF}));
    EXPECT_EQ(rClock.nStatus, -1);
    EXPECT_TRUE(rClock.bStuck);
    ASSERT_EQ(rFirmware.Items.size(), 2u);
    EXPECT_EQ(rFirmware.Items[0].usValue, 65535);
    EXPECT_EQ(rFirmware.Items[0].Options, (std::vector<std::string>{"Disabled", "", "Auto"}));
    EXPECT_EQ(rFirmware.Results, (std::map<uint32_t, std::vector<uint8_t>>{{0x50001, {1, 2}}, {0x50002, {}}}));
    const CFirmwareAnswer& rAnswer = rFirmware.Answers.at("GetValue");
    EXPECT_EQ(rAnswer.Properties.at("pack"), CWmiValue::Typed(CWmiValue::kNull));
    EXPECT_EQ(rAnswer.Properties.at("status"), std::nullopt);
    EXPECT_EQ(rAnswer.Properties.at("value"), CWmiValue::Text("a | b"));
    EXPECT_TRUE(rAnswer.bFails);
    EXPECT_EQ(rAnswer.uMilliseconds, 3'600'000u);

    EXPECT_EQ(g_Parsed(g_FormatMachine(Machine)), Machine);
    EXPECT_EQ(g_Parsed("[machine]\n[firmware]\n").Firmware->Commands.size(), 6u);
    EXPECT_FALSE(g_Parsed("[machine]\n[wmi root\\wmi Kinds]\n").Firmware);
}

TEST(MachineFile, RefusesBrokenFirmwareAndManagementData) {
    const std::string sKinds =
        "number:, text:, bool:, numbers:, bytes:, texts:, other:, null, empty, null_numbers, null_bytes, null_texts, "
        "no_data";
    const std::string sHeading = "expected [firmware], or with object ID, item, command CODE or answer METHOD, found ";
    const std::string sClass = "expected [wmi root\\cimv2 CLASS] or [wmi root\\wmi CLASS], found ";
    const std::string sInteger = "expected a number from -2147483648 to 2147483647, found ";
    const std::string sLong(65, 'x'), sShown(40, 'x');
    const struct {
        std::string sLines, sError;  // after a first line with [firmware]
    } Cases[] = {
        {"[wmi root\\default A]", "f:2: " + sClass + "[wmi root\\default A]"},
        {"[wmi root\\wmi]", "f:2: " + sClass + "[wmi root\\wmi]"},
        {"[wmi root\\wmi A B]", "f:2: " + sClass + "[wmi root\\wmi A B]"},
        {"[wmi root\\wmi __A]", "f:2: " + sClass + "[wmi root\\wmi __A]"},
        {"[wmi root\\wmi 1A]", "f:2: " + sClass + "[wmi root\\wmi 1A]"},
        {"[wmi root\\WMI SetValuePackage]",
         "f:2: expected [firmware] for a class of the firmware, found SetValuePackage"},
        {"[wmi root\\wmi A]\n__PATH = null", "f:3: expected a property's name, found __PATH"},
        {"[wmi root\\wmi A]\n" + sLong + " = null", "f:3: expected a property's name, found " + sShown},
        {"[wmi root\\wmi A]\na = null\na = null", "f:4: expected each key once, found a again"},
        {"[wmi root\\wmi A]\na = missing", "f:3: expected " + sKinds + ", found missing"},
        {"[wmi root\\wmi A]\na = number", "f:3: expected " + sKinds + ", found number"},
        {"[wmi root\\wmi A]\na = Text:x", "f:3: expected " + sKinds + ", found Text:x"},
        {"[wmi root\\wmi A]\na =", "f:3: expected " + sKinds + ", found nothing"},
        {"[wmi root\\wmi A]\na", "f:3: expected a line with =, found a"},
        {"[wmi root\\wmi A]\na = number:", "f:3: " + sInteger + "nothing"},
        {"[wmi root\\wmi A]\na = number:1x", "f:3: " + sInteger + "1x"},
        {"[wmi root\\wmi A]\na = number:0x10", "f:3: " + sInteger + "0x10"},
        {"[wmi root\\wmi A]\na = number:2147483648", "f:3: " + sInteger + "2147483648"},
        {"[wmi root\\wmi A]\na = number:99999999999999999999", "f:3: " + sInteger + "99999999999999999999"},
        {"[wmi root\\wmi A]\na = numbers:1,2", "f:3: " + sInteger + "1,2"},
        {"[wmi root\\wmi A]\na = bytes:100", "f:3: expected bytes of up to 2 digits, found 100"},
        {"[wmi root\\wmi A]\na = bool:2", "f:3: expected a number from 0 to 1, found 2"},
        {"[wmi root\\wmi A]\na = bool:yes", "f:3: expected a number from 0 to 1, found yes"},
        {"[wmi root\\wmi A]\na = other:65536", "f:3: expected a number from 0 to 65535, found 65536"},
        {"[wmi root\\wmi A]\na = text:" + std::string(4097, 'x'),
         "f:3: expected at most 4096 characters, found " + sShown},
        {"[firmware]", "f:2: expected one firmware, found another"},
        {"[firmware part]", "f:2: " + sHeading + "[firmware part]"},
        {"vendor = a\nvendor = a", "f:3: expected each key once, found vendor again"},
        {"maker = a", "f:2: expected version, commands, vendor, graphics or static_methods, found maker"},
        {"version = 2147483648", "f:2: " + sInteger + "2147483648"},
        {"commands = 1 x", "f:2: expected command codes of up to 8 digits, found x"},
        {"commands = 100000000", "f:2: expected command codes of up to 8 digits, found 100000000"},
        {"vendor = " + sLong, "f:2: expected at most 64 characters, found " + sShown},
        {"graphics = 5A", "f:2: expected information and presence byte, found 5A"},
        {"graphics = 5A 1 2", "f:2: expected at most 2 of them, found more"},
        {"static_methods = 2", "f:2: expected a number from 0 to 1, found 2"},
        {"[firmware object]", "f:2: " + sHeading + "[firmware object]"},
        {"[firmware object 100000000]", "f:2: " + sHeading + "[firmware object 100000000]"},
        {"[firmware object 1]\n[firmware object 01]", "f:3: expected each object once, found 01 again"},
        {"[firmware object 1]\nunit = V",
         "f:3: expected name, property, value, values, info, status or stuck, found unit"},
        {"[firmware object 1]\nvalue = 1.5", "f:3: " + sInteger + "1.5"},
        {"[firmware object 1]\nvalues = 1 two", "f:3: " + sInteger + "two"},
        {"[firmware object 1]\ninfo = -1", "f:3: expected a number from 0 to 4294967295, found -1"},
        {"[firmware object 1]\nproperty = -1", "f:3: expected a number from 0 to 4294967295, found -1"},
        {"[firmware item 1]", "f:2: " + sHeading + "[firmware item 1]"},
        {"[firmware item]\nname = " + sLong, "f:3: expected at most 64 characters, found " + sShown},
        {"[firmware item]\nvalue = 65536", "f:3: expected a number from 0 to 65535, found 65536"},
        {"[firmware item]\noptions = ok|12345678901234567890123",
         "f:3: expected at most 22 characters, found 12345678901234567890123"},
        {"[firmware item]\noptions = " + std::string(20, '|'), "f:3: expected at most 20 of them, found more"},
        {"[firmware item]\ntext = a", "f:3: expected name, value or options, found text"},
        {"[firmware command]", "f:2: " + sHeading + "[firmware command]"},
        {"[firmware command 1]\n[firmware command 1]", "f:3: expected each command once, found 1 again"},
        {"[firmware command 1]\ndata = 00", "f:3: expected result, found data"},
        {"[firmware command 1]\nresult = 0g", "f:3: expected bytes of up to 2 digits, found 0g"},
        {"[firmware answer GetVolume]", "f:2: expected a method of the firmware, found GetVolume"},
        {"[firmware answer]", "f:2: expected a method of the firmware, found nothing"},
        {"[firmware answer Init]\n[firmware answer Init]", "f:3: expected each method once, found Init again"},
        {"[firmware answer GetValue]\nlength = null",
         "f:3: expected fails, delay or a property of what GetValue answers, found length"},
        {"[firmware answer BiosRequest]\n = null",
         "f:3: expected fails, delay or a property of what BiosRequest answers, found nothing"},
        {"[firmware answer GetValue]\npack = nothing", "f:3: expected " + sKinds + ", missing, found nothing"},
        {"[firmware answer GetValue]\nfails = true", "f:3: expected a number from 0 to 1, found true"},
        {"[firmware answer GetValue]\ndelay = 3600001", "f:3: expected a number from 0 to 3600000, found 3600001"},
    };
    for (const auto& [sLines, sError] : Cases) EXPECT_EQ(g_ErrorOf("[firmware]\n" + sLines), sError) << sLines;
    for (const char* const pszPart : {"object 1", "item", "command 1", "answer Init"})
        EXPECT_EQ(g_ErrorOf(std::string("[firmware ") + pszPart + "]"),
                  std::string("f:1: expected [firmware] before its parts, found ") + pszPart);
}

TEST(MachineFile, RefusesMoreFirmwareAndManagementDataThanAnyPcHas) {
    const auto Repeat = [](int nTimes, const std::function<std::string(int)>& Part) {
        std::string sText = "[firmware]\n";
        for (int i = 0; i < nTimes; ++i) sText += Part(i);
        return sText;
    };
    const auto Number = [](int i) { return std::to_string(i); };
    const struct {
        const char* pszCase;
        std::string sText, sError;
    } Cases[] = {
        {"objects", Repeat(4097, [&](int i) { return "[firmware object " + Number(i) + "]\n"; }),
         "f:4098: expected at most 4096 of a kind, found more"},
        {"items", Repeat(4097, [](int) { return "[firmware item]\n"; }),
         "f:4098: expected at most 4096 of a kind, found more"},
        {"results", Repeat(4097, [&](int i) { return "[firmware command " + Number(i) + "]\n"; }),
         "f:4098: expected at most 4096 of a kind, found more"},
        {"instances", Repeat(4097, [](int) { return "[wmi root\\wmi A]\n"; }),
         "f:4098: expected at most 4096 of a kind, found more"},
        {"properties", Repeat(4098, [&](int i) { return i ? "a" + Number(i) + " = null\n" : "[wmi root\\wmi A]\n"; }),
         "f:4099: expected at most 4096 of a kind, found more"},
        {"numbers", Repeat(4098, [](int i) { return i ? "1 " : "[wmi root\\wmi A]\na = numbers:"; }),
         "f:3: expected at most 4096 of them, found more"},
        {"texts", Repeat(4098, [](int i) { return i ? "|" : "[wmi root\\wmi A]\na = texts:"; }),
         "f:3: expected at most 4096 of them, found more"},
        {"a result", Repeat(514, [](int i) { return i ? "1 " : "[firmware command 1]\nresult = "; }),
         "f:3: expected at most 512 of them, found more"},
        {"empty texts in all",
         Repeat(
             200,
             [&](int i) { return "[wmi root\\wmi A" + Number(i) + "]\na = texts:" + std::string(4000, '|') + "\n"; }),
         "f:263: expected at most 32 MiB of data, found more"},
    };
    for (const auto& [pszCase, sText, sError] : Cases) EXPECT_EQ(g_ErrorOf(sText), sError) << pszCase;
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
