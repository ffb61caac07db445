#include "perf/config_parser.h"

#include <vxtapi/profile_keys.h>

#include <algorithm>
#include <cmath>
#include <cwchar>
#include <vector>

#include "api/log/log_checks.h"
#include "perf/number_text.h"
#include "perf/xml_elements.h"
#include "perf/xml_guard.h"
#include "platform/error_code.h"
#include "platform/registry.h"
#include "registers/no_throw.h"

namespace vxt {

using platform::CXmlNode;

namespace {

constexpr const wchar_t* kRootName = L"VXT_Configuration_File";
constexpr const wchar_t* kMachineKey = L"Software\\QOR\\QOR Velomar";
constexpr const wchar_t* kFolderValue = L"InstallDir";
constexpr const wchar_t* kCurrentFolder = L".\\";
constexpr const wchar_t* kNewSuffix = L".new";
constexpr const wchar_t* kUnreadable = L"it cannot be read";
constexpr size_t kLargest = 1u << 20;  ///< bytes; a whole machine's profile has about 4,000
constexpr std::string_view kDeclarationName = "<?xml", kDeclaration = "<?xml version=\"1.0\"?>\n";

using CPath = std::span<wchar_t, CConfigParser::kPathSize>;

/// False when it does not fit.
bool g_Join(CPath Path, std::wstring_view sFolder, std::wstring_view sName) {
    if (sFolder.size() + sName.size() >= Path.size()) return false;
    *std::ranges::copy(sName, std::ranges::copy(sFolder, Path.begin()).out).out = 0;
    return true;
}

/// An element's name for a section, a device or a setting.
struct CElementName {
    wchar_t szName[CConfigParser::kNameSize] = {};

    explicit CElementName(const wchar_t* pszText) {
        const size_t uLength = std::min(std::wcslen(pszText), CConfigParser::kNameSize - 1);
        std::transform(pszText, pszText + uLength, szName, vxtapi::ProfileCharacter);
    }
    /// XML 1.0, production 5, without colons (they stand for namespaces) and what needs two UTF-16 units.
    bool IsName() const {
        const std::wstring_view sName = szName;
        return !sName.empty() && _IsStart(sName.front()) && std::ranges::all_of(sName, _IsPart);
    }

private:
    struct CRange {
        uint32_t uFirst, uLast;
    };
    template <size_t uCount> static bool _IsIn(const CRange (&aRanges)[uCount], wchar_t c) {
        return std::ranges::any_of(aRanges, [uCode = uint32_t{std::char_traits<wchar_t>::to_int_type(c)}](
                                                const CRange& r) { return uCode >= r.uFirst && uCode <= r.uLast; });
    }
    static bool _IsStart(wchar_t c) {
        static constexpr CRange kStart[] = {{'A', 'Z'},       {'_', '_'},       {'a', 'z'},       {0xC0, 0xD6},
                                            {0xD8, 0xF6},     {0xF8, 0x2FF},    {0x370, 0x37D},   {0x37F, 0x1FFF},
                                            {0x200C, 0x200D}, {0x2070, 0x218F}, {0x2C00, 0x2FEF}, {0x3001, 0xD7FF},
                                            {0xF900, 0xFDCF}, {0xFDF0, 0xFFFD}};
        return _IsIn(kStart, c);
    }
    static bool _IsPart(wchar_t c) {
        static constexpr CRange kPart[] = {{'-', '.'}, {'0', '9'}, {0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040}};
        return _IsStart(c) || _IsIn(kPart, c);
    }
};

/// The first element of that name below a node; none when there is none.
int32_t g_FindChild(const CXmlNode& rParent, const CElementName& rName, CXmlNode& rFound) {
    rFound = {};
    return g_ForEachElement(rParent, [&](CXmlNode& rChild, const std::wstring& rsName) {
        if (rsName != rName.szName) return true;
        rFound = std::move(rChild);
        return false;
    });
}

std::wstring g_Indentation(uint32_t uDepth) { return L'\n' + std::wstring(2 * uDepth, L' '); }

/// All of a file, but no more than a byte beyond what is read of any.
bool g_ReadAll(const platform::CFile& rFile, std::vector<std::byte>& rText) {
    size_t uRead = 0;
    for (size_t uRoom = 8192; uRead == rText.size() && uRead <= kLargest; uRoom *= 2) {
        rText.resize(std::min(uRoom, kLargest + 1));
        size_t uNow = 0;
        if (!platform::ReadFile(rFile, std::span(rText).subspan(uRead), uNow)) return false;
        uRead += uNow;
    }
    rText.resize(uRead);
    return true;
}

/// How a file is written, whatever the parser makes of a document: the declaration says no encoding, so it is UTF-8; lines
/// end in LF. (A CR that belongs to a text is spelt as a reference.)
void g_Normalize(std::string& rsText) {
    constexpr const char* kBlanks = " \t\r\n";
    const bool bIsDeclared = rsText.starts_with("<?xml") && rsText.find_first_of(kBlanks) == kDeclarationName.size();
    const size_t uBody = rsText.find_first_not_of(kBlanks, bIsDeclared ? rsText.find("?>") + 2 : 0);
    rsText.replace(0, std::min(uBody, rsText.size()), kDeclaration);
    rsText.erase(rsText.find_last_not_of(kBlanks) + 1);
    rsText += '\n';
    for (size_t uAt = 0; (uAt = rsText.find("\r\n", uAt)) != rsText.npos;) rsText.erase(uAt, 1);
}

}  // namespace

CConfigParser::CConfigParser(const wchar_t* pszFile, bool bReset) {
    if (_SetPath(pszFile)) Load(bReset);
}

bool CConfigParser::_SetPath(const wchar_t* pszFile) {
    bool bRetCode = pszFile && g_Join(m_szFileName, L"", pszFile);
    LOG_PROCESS_ERROR(bRetCode);
    if (!std::wcschr(pszFile, L'/') && !_GetInstallDir(m_szDirectory)) g_Join(m_szDirectory, L"", kCurrentFolder);
    bRetCode = g_Join(m_szPath, m_szDirectory, m_szFileName);
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

bool CConfigParser::_GetInstallDir(CPath Folder) {
    const platform::CRegistryKey hKey = platform::OpenMachineKey(kMachineKey);
    LOG_PROCESS_ERROR(hKey, "lRet == ERROR_SUCCESS");
    uint16_t ausValue[kPathSize] = {};
    const bool bRetCode = platform::QueryRegistryValue(hKey, kFolderValue, std::as_writable_bytes(std::span(ausValue)));
    LOG_PROCESS_ERROR(bRetCode, "lRet == ERROR_SUCCESS");
    const auto itEnd = std::find(std::begin(ausValue), std::end(ausValue), uint16_t{0});
    const auto ch = std::find(std::reverse_iterator(itEnd), std::rend(ausValue), uint16_t{'\\'}).base();
    LOG_PROCESS_ERROR(ch != std::begin(ausValue), "ch != NULL");
    LOG_PROCESS_ERROR(ch != std::end(ausValue));  // no room for the end
    *std::copy(std::begin(ausValue), ch, Folder.begin()) = 0;
    return true;
}

CConfigParser::ERead CConfigParser::_Read() {
    m_hFile = platform::OpenFileToRead(m_szPath);
    if (!m_hFile) {
        m_bFileExists = platform::LastError() != platform::kErrorFileNotFound &&
                        platform::LastError() != platform::kErrorPathNotFound;
        if (!m_bFileExists) return ERead::kAbsent;
        m_sProblem = L"it cannot be opened";
        return ERead::kRefused;
    }
    m_bFileExists = true;
    std::vector<std::byte> Text;
    if (!g_ReadAll(m_hFile, Text)) {
        m_sProblem = kUnreadable;
        return ERead::kRefused;
    }
    if (Text.size() > kLargest) {
        m_sProblem = L"it is larger than 1 MiB";
        return ERead::kForeign;
    }
    if (const wchar_t* const pszWhy = g_WhyNoSettings(Text)) {
        m_sProblem = pszWhy;
        return pszWhy == kNoXml ? ERead::kBad : ERead::kForeign;
    }
    platform::CXmlParseError Error;
    CXmlNode Root;
    std::wstring sName;
    const bool bIsXml = platform::LoadXml(m_Document, Text, Error) >= 0;
    if (bIsXml && platform::RootXmlElement(m_Document, Root) >= 0 && platform::GetXmlName(Root, sName) >= 0) {
        if (sName == kRootName) return ERead::kGood;
        m_sProblem = L"its element is not VXT_Configuration_File";
        return ERead::kForeign;
    }
    if (!Error.bIsText) {
        m_sProblem = kUnreadable;
        return ERead::kRefused;
    }
    m_sProblem = kNoXml;
    if (Error.uLine != 0) m_sProblem = L"line " + std::to_wstring(Error.uLine) + L": " + m_sProblem;
    Error.sReason.erase(Error.sReason.find_last_not_of(L" \r\n") + 1);
    if (!Error.sReason.empty()) m_sProblem += L": " + Error.sReason;
    return ERead::kBad;
}

void CConfigParser::_Forget() {
    m_hFile.Reset();
    m_Document.Reset();
    m_sProblem.clear();
}

bool CConfigParser::Load(bool bReset) {
    _Forget();
    const int32_t hRetCode = platform::CreateXmlDocument(m_Document);
    LOG_COM_PROCESS_ERROR(hRetCode);
    ERead eRead = ERead::kRefused;
    bool bRetCode = g_NoThrow([&] { eRead = _Read(); });
    if (!bRetCode) _Forget();
    LOG_PROCESS_ERROR(bRetCode);
    if (eRead == ERead::kGood) {
        m_hFile.Reset();
        return true;
    }
    m_Document.Reset();
    if (eRead == ERead::kAbsent) return Clear();
    LOG_CHECK_ERROR(eRead == ERead::kGood, "bRetCode");
    if (!bReset) return false;
    m_hFile.Reset();
    if (eRead == ERead::kBad) {
        bRetCode = platform::DeleteFile(m_szPath);
        LOG_CHECK_ERROR(bRetCode);
    }
    return Clear();
}

bool CConfigParser::Reload() { return Load(false); }

bool CConfigParser::Clear() {
    platform::CXmlDocument New;
    int32_t hRetCode = platform::CreateXmlDocument(New);
    LOG_COM_PROCESS_ERROR(hRetCode);
    CXmlNode Root;
    hRetCode = platform::PutXmlRoot(New, kRootName, Root);
    LOG_COM_PROCESS_ERROR(hRetCode);
    _Forget();
    m_Document = std::move(New);
    return true;
}

CXmlNode CConfigParser::FindNode(const wchar_t* pszSection, const wchar_t* pszElement, const wchar_t* pszKey) const {
    if (!m_Document) return {};
    CXmlNode Node;
    int32_t hRetCode = platform::RootXmlElement(m_Document, Node);
    for (const wchar_t* const pszName : {pszSection, pszElement, pszKey}) {
        CXmlNode Child;
        if (hRetCode >= 0 && Node) hRetCode = g_FindChild(Node, CElementName(pszName), Child);
        Node = std::move(Child);
    }
    LOG_COM_PROCESS_ERROR(hRetCode);
    return Node;
}

bool CConfigParser::ReadValue(const wchar_t* pszSection, const wchar_t* pszElement, const wchar_t* pszKey,
                              std::wstring& rsText) const {
    const CXmlNode Node = FindNode(pszSection, pszElement, pszKey);
    if (!Node) return false;  // an answer: most profiles hold a few settings
    const int32_t hRetCode = platform::GetXmlText(Node, rsText);
    LOG_COM_PROCESS_ERROR(hRetCode);
    return true;
}

// An element opens a line of its own, indented by its depth, and its parent's end one behind it.
bool CConfigParser::_Append(const CXmlNode& rParent, uint32_t uDepth, const wchar_t* pszName, CXmlNode& rChild) const {
    CXmlNode First;
    bool bRetCode = platform::FirstXmlChild(rParent, First) >= 0;
    const bool bHasMemory = g_NoThrow([&] {
        bRetCode = bRetCode && platform::AppendXmlText(rParent, First ? L"  " : g_Indentation(uDepth).c_str()) >= 0 &&
                   platform::AppendXmlElement(rParent, pszName, rChild) >= 0 &&
                   platform::AppendXmlText(rParent, g_Indentation(uDepth - 1).c_str()) >= 0;
    });
    LOG_PROCESS_ERROR(bHasMemory && bRetCode, "bRetCode");
    return true;
}

bool CConfigParser::WriteValue(const wchar_t* pszSection, const wchar_t* pszElement, const wchar_t* pszKey,
                               double dValue, bool bSave) {
    LOG_PROCESS_ERROR(std::isfinite(dValue));
    const CElementName aNames[] = {CElementName(pszSection), CElementName(pszElement), CElementName(pszKey)};
    bool bRetCode = std::ranges::all_of(aNames, &CElementName::IsName);
    LOG_PROCESS_ERROR(bRetCode);
    CXmlNode Node;
    uint32_t uDepth = 0;
    bRetCode = m_Document && platform::RootXmlElement(m_Document, Node) >= 0;
    LOG_PROCESS_ERROR(bRetCode, "pRoot");
    for (const CElementName& rName : aNames) {
        ++uDepth;
        CXmlNode Child;
        const int32_t hRetCode = g_FindChild(Node, rName, Child);
        LOG_COM_PROCESS_ERROR(hRetCode);
        bRetCode = Child || _Append(Node, uDepth, rName.szName, Child);
        LOG_PROCESS_ERROR(bRetCode);
        Node = std::move(Child);
    }
    wchar_t szValue[kNumberSize];
    g_FormatNumber(dValue, szValue);
    const int32_t hRetCode = platform::PutXmlText(Node, szValue);
    LOG_COM_PROCESS_ERROR(hRetCode);
    return !bSave || Save();
}

bool CConfigParser::Save() {
    std::string sText;
    bool bRetCode = m_szPath[0] != 0 && m_Document;
    LOG_PROCESS_ERROR(bRetCode);
    const int32_t hRetCode = platform::SaveXml(m_Document, sText);
    LOG_COM_PROCESS_ERROR(hRetCode);
    std::wstring sNew;
    bRetCode = g_NoThrow([&] {
        g_Normalize(sText);
        sNew = std::wstring(m_szPath) + kNewSuffix;
    });
    LOG_PROCESS_ERROR(bRetCode);
    LOG_PROCESS_ERROR(sText.size() <= kLargest);  // or nobody could read it
    platform::CFile hNew = platform::CreateFileToWrite(sNew.c_str());
    LOG_PROCESS_ERROR(hNew);
    bRetCode = platform::WriteFile(hNew, std::as_bytes(std::span(sText))) &&
               platform::ReplaceFile(hNew, sNew.c_str(), m_szPath);
    if (!bRetCode) platform::DeleteFile(sNew.c_str(), std::move(hNew));
    LOG_PROCESS_ERROR(bRetCode);
    m_bFileExists = true;
    return true;
}

// Never destroyed: when the library is unloaded the parser's own library may be gone already.
CConfigParser& g_GetConfigParser() {
    static CConfigParser& s_rConfigParser = *new CConfigParser(L"VXTConfig.xml");
    return s_rConfigParser;
}

}  // namespace vxt
