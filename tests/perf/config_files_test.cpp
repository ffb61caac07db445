// Settings files, in the simulated world and under Windows itself: the same names, bytes, numbers and refusals in both.
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <regex>
#include <set>
#include <thread>

#include "perf/number_text.h"
#include "perf/profile_file.h"
#include "support/settings_folder.h"
#include "support/text_cases.h"

namespace {

namespace fs = std::filesystem;
using vxt::CConfigParser;
using vxt::CProfileFile;
using vxttest::CSaver;

constexpr const wchar_t* kPath = L"./profile.xml";

void g_Put(const fs::path& rPath, const std::string& sBytes) {
    std::ofstream(rPath, std::ios::binary).write(sBytes.data(), static_cast<std::streamsize>(sBytes.size()));
}

/// The bytes of a file; nothing when it cannot be read.
std::string g_Bytes(const fs::path& rPath) {
    std::ifstream File(rPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(File), {}};
}

std::string g_Narrow(const std::wstring& sText) {
    std::string sResult;
    char szCode[16];
    for (const wchar_t c : sText) {
        std::snprintf(szCode, sizeof szCode, "\\u%X", static_cast<unsigned>(c));
        sResult += c < 0x80 ? std::string(1, static_cast<char>(c)) : szCode;
    }
    return sResult;
}

/// Every entry as SECTION/ELEMENT/KEY and "=NUMBER" (which is applied), "#NUMBER" (another one is) or "?TEXT".
std::string g_Describe(CProfileFile& rProfile) {
    if (*rProfile.GetProblem()) {
        EXPECT_EQ(rProfile.GetEntryCount(), 0u);
        return "!" + g_Narrow(rProfile.GetProblem());
    }
    std::string sResult;
    vxtapi::ProfileEntry Entry;
    for (uint32_t uIndex = 0; rProfile.GetEntry(uIndex, &Entry); ++uIndex) {
        double dApplied = NAN;
        rProfile.GetValue(Entry.pszSection, Entry.pszElement, Entry.pszKey, &dApplied);
        sResult += sResult.empty() ? "" : " ";
        for (const wchar_t* const pszName : {Entry.pszSection, Entry.pszElement, Entry.pszKey})
            sResult += (pszName == Entry.pszSection ? "" : "/") + g_Narrow(pszName);
        const char* const pszKind = !Entry.bIsNumber ? "?" : dApplied == Entry.dValue ? "=" : "#";
        sResult += pszKind + g_Narrow(Entry.pszText);
    }
    return sResult;
}
std::string g_Describe(const wchar_t* pszPath = kPath) {
    CProfileFile Profile(pszPath);
    return g_Describe(Profile);
}

class CConfigFiles : public vxttest::CSettingsFolder {};

TEST_F(CConfigFiles, NamesBecomeElements) {
    const std::wstring sLong(300, L'x');
    const struct {
        std::wstring sName, sElement;
    } kNames[] = {{L"R-to-W DQS Cont.", L"R-to-W_DQS_Cont."},
                  {L"A(B)/C+D", L"A_B__C_D"},
                  {sLong, sLong.substr(0, 255)},
                  {L"\u00C4\u2070", L"\u00C4\u2070"},
                  {L"+12V", L"_12V"},
                  {L"", L""},
                  {L"12V", L""},
                  {L"-a", L""},
                  {L"a:b", L""},
                  {L"a<b", L""},
                  {L"a&b", L""},
                  {L"a\tb", L""}};
    for (const auto& [sName, sElement] : kNames) {
        CProfileFile Profile(kPath);
        vxtapi::ProfileEntry Entry;
        double dValue = 0.0;
        EXPECT_EQ(Profile.SetValue(sName.c_str(), sName.c_str(), sName.c_str(), 2.0), !sElement.empty())
            << g_Narrow(sName);
        ASSERT_EQ(Profile.GetEntryCount(), sElement.empty() ? 0u : 1u) << g_Narrow(sName);
        if (sElement.empty()) continue;
        ASSERT_TRUE(Profile.GetEntry(0, &Entry));
        for (const wchar_t* const pszName : {Entry.pszSection, Entry.pszElement, Entry.pszKey})
            EXPECT_EQ(pszName, sElement) << g_Narrow(sName);
        EXPECT_TRUE(Profile.GetValue(sName.c_str(), sName.c_str(), sName.c_str(), &dValue) && dValue == 2.0);
    }
}

TEST_F(CConfigFiles, AFileIsWrittenLikeThis) {
    CProfileFile Profile(kPath);
    EXPECT_FALSE(Profile.FileExists());
    EXPECT_TRUE(Profile.SetValue(L"CPU", L"QOR Family 10h Processor", L"Multiplier", 7.5));
    EXPECT_TRUE(Profile.SetValue(L"Memory Controller", L"DDR3 (2)", L"CAS Latency", 0.1));
    EXPECT_TRUE(Profile.SetValue(L"CPU", L"QOR Family 10h Processor", L"CPUVID", 1e300));
    EXPECT_FALSE(Profile.SetValue(L"CPU", L"QOR Family 10h Processor", L"NBVID", NAN));
    EXPECT_TRUE(Profile.Save());
    EXPECT_EQ(g_Bytes(kPath),
              "<?xml version=\"1.0\"?>\n<VXT_Configuration_File>\n  <CPU>\n"
              "    <QOR_Family_10h_Processor>\n      <Multiplier>7.5</Multiplier>\n"
              "      <CPUVID>1e+300</CPUVID>\n    </QOR_Family_10h_Processor>\n  </CPU>\n"
              "  <Memory_Controller>\n    <DDR3__2_>\n      <CAS_Latency>0.1</CAS_Latency>\n"
              "    </DDR3__2_>\n  </Memory_Controller>\n</VXT_Configuration_File>\n");
    EXPECT_TRUE(Profile.FileExists());
}

TEST_F(CConfigFiles, ASaveKeepsWhatElseTheFileHolds) {
    constexpr const char
        *kBefore =
            "<?xml-stylesheet href='a.css'?><!-- mine --><VXT_Configuration_File by=\"me &amp; you\">\r\n"
            "\t<CPU note=\"1\"><!--fast-->\r\n\t\t<P><K>5</K>and<J "
            "a='&#xA;'>6</J></P></CPU><Other/>&#xD;&lt;\xC3\xA4\r\n"
            "</VXT_Configuration_File>\n<?end?>",
        *kAfter =
            "<?xml version=\"1.0\"?>\n<?xml-stylesheet href='a.css'?>\n<!-- mine -->\n"
            "<VXT_Configuration_File by=\"me &amp; you\">\n"
            "\t<CPU note=\"1\"><!--fast-->\n\t\t<P><K>5</K>and<J a=\"&#10;\">7</J>  <New>8</New>\n    </P></CPU>"
            "<Other/>&#13;&lt;\xC3\xA4\n</VXT_Configuration_File>\n<?end?>\n";
    g_Put(kPath, kBefore);
    CProfileFile Profile(kPath);
    EXPECT_TRUE(Profile.SetValue(L"CPU", L"P", L"J", 7.0) && Profile.SetValue(L"CPU", L"P", L"New", 8.0));
    EXPECT_TRUE(Profile.Save());
    // Parsers differ in lines between the file's outermost parts and in how they spell a line end in an attribute.
    const auto Plain = [](std::string sText) {
        sText = std::regex_replace(sText, std::regex("(\\?>|-->)\n"), "$1");
        return std::regex_replace(sText, std::regex("&#x[aA];"), "&#10;");
    };
    EXPECT_EQ(Plain(g_Bytes(kPath)), Plain(kAfter));
    EXPECT_EQ(g_Describe(), "CPU/P/K=5 CPU/P/J=7 CPU/P/New=8");
}

TEST_F(CConfigFiles, ABareNameLiesInTheInstallDirectory) {
    const std::string sLong = "C:\\" + std::string(250, 'x') + "\\";
    const struct {
        const char* pszCase;
        std::optional<std::string> oInstallDir;
        std::wstring sName, sPath;
    } kCases[] = {
        {"no directory", {}, L"x.xml", L".\\x.xml"},
        {"a program's path", "C:\\VXT\\velomar.exe", L"x.xml", L"C:\\VXT\\x.xml"},
        {"a folder", "C:\\VXT\\", L"x.xml", L"C:\\VXT\\x.xml"},
        {"no backslash", "VXT", L"x.xml", L".\\x.xml"},
        {"nothing", "", L"x.xml", L".\\x.xml"},
        {"a path with backslashes", "C:\\VXT\\", L"D:\\x.xml", L"C:\\VXT\\D:\\x.xml"},
        {"a path", "C:\\VXT\\", L"D:/x.xml", L"D:/x.xml"},
        {"just fits", sLong, L"x.xml", std::wstring(sLong.begin(), sLong.end()) + L"x.xml"},
        {"does not fit", sLong, L"xx.xml", L""},
        {"a value of 261 characters", sLong + "1234567", L"x.xml", L".\\x.xml"},
        {"a path that does not fit", {}, L"./" + std::wstring(258, L'x'), L""},
    };
    for (const auto& [pszCase, oInstallDir, sName, sPath] : kCases) {
        SetInstallDir(oInstallDir ? oInstallDir->c_str() : nullptr);
        const CProfileFile Profile(sName.c_str());
        EXPECT_EQ(const_cast<CProfileFile&>(Profile).GetPath(), sPath) << pszCase;
        EXPECT_EQ(Profile.IsUsable(), !sPath.empty()) << pszCase;
    }
}

TEST_F(CConfigFiles, AReloadSeesWhatOthersWrote) {
    CConfigParser First(kPath), Second(kPath);
    std::wstring sText;
    EXPECT_TRUE(Second.WriteValue(L"CPU", L"P", L"K", 5.0, true));
    EXPECT_FALSE(First.ReadValue(L"CPU", L"P", L"K", sText));
    EXPECT_TRUE(First.Reload() && First.ReadValue(L"CPU", L"P", L"K", sText));
    EXPECT_EQ(sText, L"5");
    g_Put(kPath, "<half");
    EXPECT_FALSE(First.Reload());
    EXPECT_FALSE(First.ReadValue(L"CPU", L"P", L"K", sText) || First.WriteValue(L"CPU", L"P", L"K", 6.0, true));
    EXPECT_EQ(g_Bytes(kPath), "<half");
    EXPECT_TRUE(First.Clear() && First.Save());
    EXPECT_EQ(g_Describe(), "");
}

TEST_F(CConfigFiles, NumbersReadTheSameInEveryCountry) {
    for (const char* const pszCommaCountry : {"de_DE.UTF-8", "German_Germany.1252"})
        std::setlocale(LC_ALL, pszCommaCountry);
    const struct {
        const wchar_t* pszText;
        double dNumber;
    } kNumbers[] = {{L"1.5", 1.5}, {L" \n+1.5\t", 1.5}, {L"-0", -0.0}, {L".5", 0.5}, {L"5.", 5.0}, {L"1E3", 1000.0}};
    for (const auto& [pszText, dNumber] : kNumbers)
        EXPECT_EQ(vxt::g_ParseNumber(pszText), dNumber) << g_Narrow(pszText);
    for (const wchar_t* const pszText : {L"", L" ", L"1,5", L"NaN", L"inf", L"1e999", L"1e-999", L"0x10", L"1.5 V",
                                         L"+-1", L"++1", L"1 2", L".", L"1e", L"\u0661", L"1.5\u00A0"})
        EXPECT_FALSE(vxt::g_ParseNumber(pszText)) << g_Narrow(pszText);
    // Few digits and a large exponent: what a processor that calculates in 80 bits rounds twice.
    std::mt19937_64 Random(1);
    for (int i = 0; i < 100'000; ++i) {
        const auto dNumber = static_cast<double>(Random() >> 11) * std::pow(10.0, static_cast<double>(Random() % 23));
        wchar_t szText[vxt::kNumberSize];
        vxt::g_FormatNumber(i % 2 ? dNumber : 1.0 / dNumber, szText);
        ASSERT_EQ(vxt::g_ParseNumber(szText), i % 2 ? dNumber : 1.0 / dNumber) << g_Narrow(szText);
    }
    EXPECT_EQ(vxt::g_ParseNumber(L"9007199254740991e22"), 9007199254740991e22);
    std::setlocale(LC_ALL, "C");
}

/// The bytes of a case: { and } stand for the elements around settings, %N%TEXT% for a text N times, \xNN for a byte;
/// `sForm` for UTF-16, with a mark in front or without.
std::string g_CaseBytes(std::string sText, const std::string& sForm) {
    sText = std::regex_replace(sText, std::regex("\\{"), "<VXT_Configuration_File><CPU><P>");
    sText = std::regex_replace(sText, std::regex("\\}"), "</P></CPU></VXT_Configuration_File>");
    const auto Expand = [](std::string sLeft, const char* pszWhat, auto Bytes) {
        std::string sResult;
        const std::regex What(pszWhat);
        for (std::smatch Match; std::regex_search(sLeft, Match, What); sLeft = std::string(Match.suffix()))
            sResult += Match.prefix().str() + Bytes(Match);
        return sResult + sLeft;
    };
    sText = Expand(sText, "\\\\x(..)", [](const std::smatch& rMatch) {
        return std::string(1, static_cast<char>(std::stoi(rMatch[1], nullptr, 16)));
    });
    const std::string sBytes = Expand(sText, "%(\\d+)%([^%]*)%", [](const std::smatch& rMatch) {
        const std::string sOnce = rMatch[2];
        std::string sTimes;
        for (int i = std::stoi(rMatch[1]); i > 0; --i) sTimes += sOnce;
        return sTimes;
    });
    if (sForm == "bytes") return sBytes;
    std::string sWide;
    if (sForm.ends_with("marked")) sWide = sForm.starts_with("LE") ? "\xFF\xFE" : "\xFE\xFF";
    for (const char c : sBytes) sWide += sForm.starts_with("LE") ? std::string{c, '\0'} : std::string{'\0', c};
    return sWide;
}

TEST_F(CConfigFiles, OddFilesAreReadOrRefusedAndLeftAlone) {
    for (const auto& rRow : vxttest::g_CaseRows("settings_files.txt")) {
        ASSERT_EQ(rRow.size(), 5u) << rRow[0];
        SCOPED_TRACE(rRow[0]);
        const std::string sBytes = g_CaseBytes(rRow[2], rRow[1]);
        g_Put(kPath, sBytes);
        {
            CProfileFile Profile(kPath);
            const std::string sFound = g_Describe(Profile), sWanted = rRow[3];
            if (sWanted.starts_with("!")) {
                EXPECT_TRUE(std::regex_search(sFound, std::regex(sWanted.substr(1)))) << sFound;
            } else {
                EXPECT_EQ(sFound, sWanted);
            }
            EXPECT_TRUE(g_Bytes(kPath) == sBytes);
            const bool bIsRead = !sFound.starts_with("!");
            EXPECT_EQ(Profile.SetValue(L"Added", L"P", L"K", 1.5) && Profile.Save(), bIsRead);
            if (bIsRead) { EXPECT_EQ(g_Describe(), sFound + (sFound.empty() ? "" : " ") + "Added/P/K=1.5"); }
        }
        g_Put(kPath, sBytes);
        CConfigParser Config(kPath);
        EXPECT_TRUE(Config.Document() && Config.Problem().empty());
        EXPECT_TRUE(g_Bytes(kPath) == (rRow[4] == "stays" ? sBytes : ""));
        EXPECT_EQ(fs::exists(kPath), rRow[4] == "stays");
        fs::remove(kPath);
    }
}

TEST_F(CConfigFiles, AFolderIsNoFileAndStays) {
    fs::create_directories("folder.xml");
    EXPECT_EQ(g_Describe(L"./folder.xml"), "!it cannot be opened");
    CConfigParser Config(L"./folder.xml");
    EXPECT_TRUE(fs::is_directory("folder.xml"));
    EXPECT_FALSE(Config.WriteValue(L"CPU", L"P", L"K", 5.0, true));
    EXPECT_FALSE(fs::exists("folder.xml.new"));
    CProfileFile Nowhere(L"./no such folder/x.xml");
    EXPECT_FALSE(Nowhere.FileExists() || *Nowhere.GetProblem() || Nowhere.Save());
}

// --- saves that are cut short

/// One of two whole profiles.
struct CWhole {
    explicit CWhole(int nWhich) {
        Profile.Clear();
        for (int nKey = 0; nKey < 20; ++nKey)
            Profile.SetValue(L"CPU", L"P", (L"Key" + std::to_wstring(nKey)).c_str(), nWhich ? nKey : 1.0 / (nKey + 3));
    }
    CProfileFile Profile{kPath};
};

std::set<std::string> g_WholeProfiles() {
    std::set<std::string> Result;
    for (const int nWhich : {0, 1}) CWhole(nWhich).Profile.Save(), Result.insert(g_Bytes(kPath));
    return Result;
}

TEST_F(CConfigFiles, AKilledSaveLeavesTheOldOrTheNewFile) {
    const std::set<std::string> Whole = g_WholeProfiles();
    ASSERT_EQ(Whole.size(), 2u);
    std::mt19937 Random(1);
    int nCutShort = 0;
    for (int i = 0; i < CSaver::AffordableKills(); ++i) {
        fs::remove(kPath);
        CSaver Saver;
        while (!fs::exists(kPath)) std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::microseconds(Random() % 3000));
        Saver.Kill();
        ASSERT_TRUE(Whole.contains(g_Bytes(kPath))) << "kill " << i << " left " << g_Bytes(kPath);
        nCutShort += fs::exists("profile.xml.new");
    }
    EXPECT_GT(nCutShort, 0) << "no kill met a save";
    g_Put("profile.xml.new", std::string(100'000, 'x'));
    EXPECT_TRUE(CWhole(0).Profile.Save());
    EXPECT_TRUE(Whole.contains(g_Bytes(kPath)));
    EXPECT_FALSE(fs::exists("profile.xml.new"));
}

TEST_F(CConfigFiles, ProcessesThatSaveAtTheSameTimeLeaveWholeFiles) {
    const std::set<std::string> Whole = g_WholeProfiles();
    const CSaver First, Second, Third, Fourth;
    for (const auto End = std::chrono::steady_clock::now() + std::chrono::seconds(1);
         std::chrono::steady_clock::now() < End;) {
        std::ifstream File(fs::path(kPath), std::ios::binary);
        if (!File) continue;  // Windows: it is being replaced
        const std::string sBytes(std::istreambuf_iterator<char>(File), {});
        ASSERT_TRUE(Whole.contains(sBytes)) << sBytes;
    }
}

}  // namespace

void vxttest::g_SaveInTurn() {
    CWhole First(0), Second(1);
    while (true) First.Profile.Save(), Second.Profile.Save();
}
