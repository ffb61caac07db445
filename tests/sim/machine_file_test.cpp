// The text form of machines: what is accepted and refused, what a machine takes over from its base, and that the page about
// it is right.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <set>

#include "sim/sections/section.h"
#include "sim/sections/wmi_values.h"
#include "sim/sim_client.h"
#include "support/text_cases.h"

namespace vxtsim {
namespace {

namespace fs = std::filesystem;

/// What a machine's text says beyond [machine], in one line.
std::string g_Sections(const CMachineDescription& rMachine) {
    const std::string sText = g_FormatMachine(rMachine);
    const size_t uBegin = sText.find("\n\n[", sText.find("[machine]")) + 1;
    return g_Replaced(sText.substr(uBegin, sText.rfind("\n[end]\n") - uBegin), '\n', "~");
}

TEST(MachineFile, SaysWhatItWasToldAndNamesTheLineThatIsWrong) {
    const std::vector<std::string> Rows = vxttest::g_CaseLines("machine_files.txt");
    EXPECT_GT(Rows.size(), 150u);
    for (const std::string& sRow : Rows) {
        const size_t uError = sRow.find(" -> "), uForm = sRow.find(" => ");
        SCOPED_TRACE(sRow);
        CMachineDescription Machine;
        std::string sError;
        if (uError == std::string::npos) {
            ASSERT_TRUE(g_ParseMachine("[machine]\n" + g_Written(sRow.substr(0, uForm)), "f", Machine, sError))
                << sError;
            EXPECT_EQ(g_Sections(Machine), "~" + sRow.substr(uForm + 4) + "~");
            EXPECT_EQ(g_Parsed(g_FormatMachine(Machine)), Machine);
        } else {
            EXPECT_FALSE(g_ParseMachine(g_Written(sRow.substr(0, uError)), "f", Machine, sError));
            EXPECT_EQ(sError, sRow.substr(uError + 4));
        }
    }
}

TEST(MachineFile, EveryBuiltInMachineSurvivesTheWayThroughText) {
    for (const std::string& sName : g_MachineNames()) {
        const CMachineDescription Machine = g_Embedded(sName);
        EXPECT_EQ(g_Parsed(g_FormatMachine(Machine)), Machine) << sName;
    }
}

TEST(MachineFile, AFileThatAProgramWroteIsRefusedWhereverItWasCut) {
    const std::string sText = g_FormatMachine(g_Embedded("k8-first"));
    CMachineDescription Machine;
    std::string sError;
    for (size_t uSize = 0; uSize < sText.size() - 1; ++uSize)  // the last line's end may be missing
        EXPECT_FALSE(g_ParseMachine(sText.substr(0, uSize), "f", Machine, sError)) << uSize;
    EXPECT_EQ(g_Parsed("[begin]\n[machine]\nbased_on = k8-first\n[end]"), g_Embedded("k8-first"));
}

/// Machine files in a folder of their own.
struct MachineFolder : ::testing::Test {
    MachineFolder() { fs::create_directories(m_Folder / "below"); }
    ~MachineFolder() override { fs::remove_all(m_Folder); }
    std::string Write(const std::string& sName, const std::string& sText) {
        std::ofstream(m_Folder / sName, std::ios::binary) << sText;
        return (m_Folder / sName).string();
    }
    /// The error of loading it; empty when it was loaded.
    std::string Load(const std::string& sName, CMachineDescription& rMachine) {
        std::string sError;
        return g_LoadMachine((m_Folder / sName).string(), rMachine, sError) ? "" : sError;
    }

    fs::path m_Folder = fs::path(testing::TempDir()) / ("vxt-machines-" + std::to_string(getpid()));
    CMachineDescription m_Machine;
};

TEST_F(MachineFolder, FilesAreLoadedFromTheirPathsAndBasesFromThere) {
    std::string sError;
    EXPECT_FALSE(g_LoadMachine("/no/such/file", m_Machine, sError));
    const std::string sKnown =
        "expected a readable machine file or one of the built-in machines desktop-a desktop-b family10h-ddr2 "
        "family10h-ddr3 family11h-mobile k8-first k8-revf-dual";
    EXPECT_EQ(sError, "/no/such/file: no such machine: " + sKnown);
    EXPECT_FALSE(g_LoadMachine("/", m_Machine, sError)) << "a folder is no file";

    Write("base", "[machine]\nbased_on = k8-first\nname = base\nload = 50\n");
    const std::string sTop = Write("below/top", "[machine]\nbased_on = ../base  # a comment\nreference_clock = 250\n");
    EXPECT_EQ(Load("below/top", m_Machine), "");
    EXPECT_EQ(m_Machine.sName, "base");
    EXPECT_EQ(m_Machine.dReferenceMHz, 250.0);
    EXPECT_EQ(m_Machine.Loads, std::vector<uint8_t>{50});
    EXPECT_EQ(m_Machine.Pci, g_Embedded("k8-first").Pci);

    EXPECT_EQ(Load(Write("lost", "[machine]\nbased_on = nobody\n"), m_Machine),
              (m_Folder / "lost:2: ").string() + sKnown + ", found nobody");
    const std::string sWrong = Write("wrong", "[machine]\ncores = 0\n");
    Write("onwrong", "[machine]\nbased_on = " + sWrong + "\n");
    EXPECT_EQ(Load("onwrong", m_Machine), sWrong + ":2: expected 1 to 64 cores, found 0");
}

TEST_F(MachineFolder, AMachineIsNotBasedOnItself) {
    const std::string sOne = Write("one", "[machine]\nbased_on = two\n"),
                      sTwo = Write("two", "[machine]\nbased_on = one\n");
    EXPECT_EQ(Load("one", m_Machine), sTwo + ":2: expected a machine that is not based on this one, found one");
    Write("round", "[machine]\nbased_on = below/../round\n");
    EXPECT_THAT(Load("round", m_Machine),
                testing::HasSubstr(":2: expected at most 8 machines above each other, found "));
}

TEST(MachineFile, KeysOverrideAndWholeSectionsReplaceWhatTheBaseSays) {
    constexpr uint16_t kIndexPort = 0xCD0, kChipPort = 0x2E;
    const CMachineDescription Base = g_Embedded("family10h-ddr3");
    CMachineDescription Machine = g_Parsed(
        "[machine]\nbased_on = family10h-ddr3\nwithout = dram_data, pci 02:00.0, acpi MCFG, firmware object 02010000, "
        "fan CD0.1, superio 2E monitor\n"
        "cores = 1\n[cpuid]\n1 = 1 2 3 4\n[msr]\nC0010061 = 10\n[pci 00:18.4]\n00: 77\n[smbus 51]\nFF\n[fan "
        "2E.0]\nstart = 50\n"
        "[acpi SSDT]\n01\n[acpi APIC]\n02\n[acpi APIC]\n03\n[wmi root\\cimv2 Win32_BIOS]\nOther = null\n"
        "[firmware]\nversion = 9\n[firmware object 01010000]\nvalue = 195000\n[firmware object 7]\n[firmware item]\n");
    CMachineDescription Expected = Base;
    Expected.uCores = 1;
    Expected.Cpuid[{1, 0}] = {1, 2, 3, 4};
    Expected.Msr[{kAllCores, 0xC0010061}] = 0x10;
    Expected.Pci[{0, 0x18, 4}].assign(256, 0);
    Expected.Pci[{0, 0x18, 4}][0] = 0x77;
    Expected.Pci.erase({2, 0, 0});
    Expected.DramData.clear();
    Expected.Smbus[0x51] = {0xFF};
    Expected.Fans.erase({kIndexPort, 1});
    Expected.Fans[{kChipPort, 0}].uStart = 50;
    Expected.SuperIo.erase({kChipPort, CSuperIoPart::kMonitor});
    std::erase_if(Expected.Acpi, [](const auto& rTable) { return rTable.first == "MCFG"; });
    ASSERT_EQ(Expected.Acpi[0].first, "APIC");
    Expected.Acpi[0].second = {2};
    Expected.Acpi.insert(Expected.Acpi.begin() + 1, {"APIC", {3}});
    Expected.Acpi.push_back({"SSDT", {1}});
    Expected.Wmi[0].Properties = {{"Other", CWmiValue::Typed(CWmiValue::kNull)}};
    Expected.oFirmware->nVersion = 9;
    Expected.oFirmware->Objects[0].nValue = 195000;
    std::erase_if(Expected.oFirmware->Objects, [](const auto& rObject) { return rObject.uId == 0x02010000; });
    Expected.oFirmware->Objects.emplace_back().uId = 7;
    Expected.oFirmware->Items = {CFirmwareItem()};
    EXPECT_EQ(g_FormatMachine(Machine), g_FormatMachine(Expected));
    EXPECT_FALSE(g_Parsed("[machine]\nbased_on = family10h-ddr3\nwithout = firmware\n").oFirmware);
    EXPECT_EQ(g_Parsed("[machine]\nbased_on = family10h-ddr3\n"), Base);
    EXPECT_EQ(g_Parsed("[machine]\nbased_on = family10h-ddr3\nwithout = pci\n").Fans.count({kIndexPort, 0}), 0u)
        << "nobody knows its chip any more";
}

// --- the page

TEST(MachineFilePage, DescribesEverySectionAndKeyAndItsExamplesAreAccepted) {
    const std::string sPage = vxttest::g_SourceText("docs/machine_files.md");
    std::set<std::string> Headings;
    for (size_t u = 0; (u = sPage.find("\n### ", u)) != std::string::npos; u += 5)
        Headings.insert(sPage.substr(u + 5, sPage.find('\n', u + 5) - u - 5));
    for (const CSectionKind* const pKind : g_SectionKinds()) {
        SCOPED_TRACE(pKind->sName);
        EXPECT_EQ(Headings.erase(pKind->pszForm), 1u);
        const std::string sStart = std::string("\n### ") + pKind->pszForm + "\n\n" + pKind->pszDoc + "\n";
        const size_t uStart = sPage.find(sStart);
        ASSERT_NE(uStart, std::string::npos) << sStart;
        const std::string sPart = sPage.substr(uStart, sPage.find("\n##", uStart + 1) - uStart);

        std::set<std::string> Keys, Known;
        for (size_t u = 0; (u = sPart.find("\n| `", u)) != std::string::npos; u += 4)
            Keys.insert(sPart.substr(u + 4, sPart.find('`', u + 4) - u - 4));
        if (pKind->pKeys)
            for (const std::string_view sKey : pKind->pKeys()) Known.emplace(sKey);
        if (pKind == &kWmiSection) {
            for (const std::string& sForm : g_WmiValueForms())
                EXPECT_THAT(sPart, testing::HasSubstr("`" + sForm + "`"));
        } else {
            EXPECT_EQ(Keys, Known);
        }

        const size_t uExample = sPart.find("```\n") + 4;
        std::string sExample = sPart.substr(uExample, sPart.find("```", uExample) - uExample);
        for (const std::string& sKey : Known) EXPECT_THAT(sExample, testing::HasSubstr(sKey + " = "));
        if (sExample.find("[machine]") == std::string::npos) sExample += "[machine]\n";
        EXPECT_NE(g_Parsed(sExample), CMachineDescription()) << "it says something";
    }
    EXPECT_THAT(Headings, testing::IsEmpty()) << "nobody reads these";
}

}  // namespace
}  // namespace vxtsim
