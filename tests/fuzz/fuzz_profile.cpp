// Settings files of any content: what is refused stays as it is, what is read survives the way through a saved file, and no
// tree that the parser makes is deeper than the look before it allows.
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "perf/profile_file.h"
#include "perf/xml_guard.h"
#include "platform/simulated/simulated_system.h"

namespace {

using namespace vxt;

/// In memory, where there is such a place: every input is a file. The current folder is the fuzzer's.
struct CPath {
    std::wstring sPath = L"/dev/shm/vxt-fuzz-" + std::to_wstring(getpid()) + L".xml";

    CPath() { platform::simulated::g_Restart({}); }  // before it, so that it goes after it
    ~CPath() { platform::DeleteFile(sPath.c_str()); }
};
const wchar_t* g_Path() {
    static const CPath s_Path;
    return s_Path.sPath.c_str();
}

void g_Demand(bool bTrue) {
    if (!bTrue) std::abort();
}

/// Bytes of the input below 32 stand for these: without them nearly no input would be XML.
constexpr std::string_view kTokens[] = {"<VXT_Configuration_File>",
                                        "</VXT_Configuration_File>",
                                        "<CPU>",
                                        "</CPU>",
                                        "<P>",
                                        "</P>",
                                        "<K>",
                                        "</K>",
                                        "<K/>",
                                        "<!--",
                                        "-->",
                                        "<![CDATA[",
                                        "]]>",
                                        "<?x ",
                                        "?>",
                                        "<!DOCTYPE a [",
                                        "<!ENTITY b '",
                                        "]>",
                                        "&#x",
                                        "&lt;",
                                        "&b;",
                                        " a=\"",
                                        "' ",
                                        "\r\n",
                                        " xmlns:v='",
                                        "<v:K>",
                                        "</v:K>",
                                        "<?xml version='1.0'",
                                        " encoding='",
                                        "utf-16",
                                        "iso-8859-1",
                                        "7.5"};
static_assert(std::size(kTokens) == 32);

/// The first byte chooses: bytes as they are, or text, within the elements around settings or not, in UTF-16 or not.
std::string g_FileBytes(std::string_view sInput) {
    if (sInput.empty()) return {};
    const auto ucForm = static_cast<unsigned char>(sInput.front());
    sInput.remove_prefix(1);
    if (ucForm % 8 == 0) return std::string(sInput);
    std::string sText;
    for (const char c : sInput)
        if (c >= 0 && c < 32)
            sText += kTokens[static_cast<size_t>(c)];
        else
            sText += c;
    if (ucForm % 2) sText = "<VXT_Configuration_File><CPU><P>" + sText + "</P></CPU></VXT_Configuration_File>";
    if (ucForm % 8 < 6) return sText;
    std::string sWide = "\xFF\xFE";
    for (const char c : sText) sWide += {c, '\0'};
    return sWide;
}

void g_WriteFile(const std::string& sBytes) {
    platform::CFile hFile = platform::CreateFileToWrite(g_Path());
    g_Demand(platform::WriteFile(hFile, std::as_bytes(std::span(sBytes))));
}

bool g_IsInFile(const std::string& sWanted) {
    std::string sBytes(sWanted.size() + 1, '\0');
    size_t uRead = 0;
    const platform::CFile hFile = platform::OpenFileToRead(g_Path());
    g_Demand(platform::ReadFile(hFile, std::as_writable_bytes(std::span(sBytes)), uRead));
    sBytes.resize(uRead);
    return sBytes == sWanted;
}

int g_Depth(const platform::CXmlNode& rNode) {
    int nDeepest = 0;
    platform::CXmlNode Child;
    g_Demand(platform::FirstXmlChild(rNode, Child) >= 0);
    while (Child) {
        nDeepest = std::max(nDeepest, g_Depth(Child));
        g_Demand(platform::NextXmlNode(Child, Child) >= 0);
    }
    return nDeepest + 1;
}

void g_CheckDepth(std::span<const std::byte> Text) {
    platform::CXmlDocument Document;
    platform::CXmlParseError Error;
    platform::CXmlNode Root;
    if (g_WhyNoSettings(Text)) return;
    g_Demand(platform::CreateXmlDocument(Document) >= 0);
    if (platform::LoadXml(Document, Text, Error) < 0) return g_Demand(Error.bIsText);
    g_Demand(platform::RootXmlElement(Document, Root) >= 0 && g_Depth(Root) <= kDeepestXml + 1);  // with the text in it
}

using CEntries = std::vector<std::pair<std::wstring, std::wstring>>;

CEntries g_Entries(CProfileFile& rProfile) {
    CEntries Result;
    vxtapi::ProfileEntry Entry;
    for (uint32_t uIndex = 0; rProfile.GetEntry(uIndex, &Entry); ++uIndex)
        Result.emplace_back(std::wstring(Entry.pszSection) + L'/' + Entry.pszElement + L'/' + Entry.pszKey,
                            Entry.pszText);
    g_Demand(Result.size() == rProfile.GetEntryCount());
    return Result;
}

void g_SaveAndReadAgain(CProfileFile& rProfile) {
    g_Demand(rProfile.Save());
    CProfileFile Again(g_Path());
    g_Demand(Again.IsUsable() && !*Again.GetProblem() && g_Entries(Again) == g_Entries(rProfile));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t uSize) {
    uSize = std::min<size_t>(uSize, 256);  // tokens make a long text of it; more only takes time
    const std::string sBytes = g_FileBytes({reinterpret_cast<const char*>(pData), uSize});
    g_WriteFile(sBytes);
    g_CheckDepth(std::as_bytes(std::span(sBytes)));
    CProfileFile Profile(g_Path());
    g_Demand(Profile.IsUsable() && Profile.FileExists());
    if (*Profile.GetProblem()) {
        g_Demand(g_Entries(Profile).empty() && !Profile.SetValue(L"CPU", L"P", L"K", 7.5) && !Profile.Save());
        g_Demand(g_IsInFile(sBytes));
        return 0;
    }
    g_SaveAndReadAgain(Profile);
    uint64_t ullBits = 0;
    std::memcpy(&ullBits, pData, std::min(uSize, sizeof ullBits));
    const auto dValue = static_cast<double>(ullBits) / 3.0;
    double dRead = 0.0;
    g_Demand(Profile.SetValue(L"CPU", L"P", L"K", dValue) && Profile.GetValue(L"CPU", L"P", L"K", &dRead) &&
             dRead == dValue);
    g_SaveAndReadAgain(Profile);
    return 0;
}
