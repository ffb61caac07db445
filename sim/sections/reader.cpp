#include "reader.h"

#include <algorithm>
#include <cstdio>

#include "../embedded_machines.h"
#include "../machine_words.h"
#include "section.h"

namespace vxtsim {

namespace {

/// A file's whole text, or as much of it as shows that it is too long.
std::optional<std::string> g_FileText(const std::string& sPath) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pFile(std::fopen(sPath.c_str(), "rb"), std::fclose);
    std::string sText;
    size_t uRead = 0;
    char acChunk[4096];
    while (pFile && sText.size() <= CMachineReader::kMaximumFile &&
           (uRead = std::fread(acChunk, 1, sizeof(acChunk), pFile.get())) != 0)
        sText.append(acChunk, uRead);
    return pFile && !std::ferror(pFile.get()) ? std::optional(std::move(sText)) : std::nullopt;
}

std::string g_BuiltInMachines() {
    std::string sNames;
    for (const std::string& rsName : g_MachineNames()) sNames += " " + rsName;
    return sNames;
}

const CEmbeddedMachine* g_FindEmbedded(std::string_view sName) {
    const auto it = std::ranges::find(g_EmbeddedMachines, sName, &CEmbeddedMachine::sName);
    return it == g_EmbeddedMachines.end() ? nullptr : &*it;
}

bool g_IsAbsolute(std::string_view sPath) {
    return sPath.starts_with('/') || sPath.starts_with('\\') || sPath.substr(1).starts_with(':');
}

/// With the separator; empty for a file of the present folder.
std::string g_FolderOf(const std::string& sPath) { return sPath.substr(0, sPath.find_last_of("/\\") + 1); }

}  // namespace

CMachineReader::CMachineReader(CMachineDescription& rMachine, std::string& rsError)
    : m_rMachine(rMachine), m_rsError(rsError) {}
CMachineReader::~CMachineReader() = default;

// --- lines and sections

bool CMachineReader::Read(std::string_view sText, const std::string& sFile, std::vector<std::string> Chain,
                          const std::string* psFolder) {
    m_sFile = sFile, m_Chain = std::move(Chain), m_psFolder = psFolder;
    if (sText.size() > kMaximumFile) return Fail("at most 16 MiB of text", "more");
    if (!_ReadLines(sText)) return false;
    if (m_bBegun && !m_bEnded) return Fail("[end] at the end of a whole file", "none");
    if (!m_bMachine) return Fail("a [machine] section", "none");
    if (m_oBase)
        for (const CSectionKind* const pKind : g_SectionKinds()) pKind->pInherit(m_rMachine, *m_oBase);
    return std::ranges::all_of(m_LaterChecks, [this](const CLaterCheck& rLater) {
        m_uLine = rLater.uLine;
        return rLater.Check(*this);
    });
}

bool CMachineReader::_ReadLines(std::string_view sText) {
    while (!sText.empty()) {
        ++m_uLine;
        const size_t uEnd = std::min(sText.find('\n'), sText.size());
        const std::string_view sLine = g_TrimLeft(sText.substr(0, uEnd));
        sText.remove_prefix(std::min(uEnd + 1, sText.size()));
        if (m_bEnded && !g_Trim(sLine).empty()) return Fail("nothing behind [end]", sLine);
        if (sLine.empty() || sLine[0] == '#') continue;
        const bool bRetCode =
            sLine[0] == '[' ? (!m_pSection || m_pSection->Close(*this)) && _OpenSection(g_Trim(WithoutComment(sLine)))
            : m_pSection    ? m_pSection->Line(*this, sLine)
                            : Fail("a section like [machine]", sLine);
        if (!bRetCode) return false;
    }
    return !m_pSection || m_pSection->Close(*this);
}

bool CMachineReader::_OpenSection(std::string_view sHeading) {
    m_sHeading = sHeading;
    if (!sHeading.ends_with(']')) return Fail("a section heading that ends with ]", sHeading);
    std::string_view sArgument = sHeading.substr(1, sHeading.size() - 2);
    const CSectionKind* const pKind = g_FindSectionKind(sArgument);
    if (!pKind) {
        std::string sKnown;
        for (const CSectionKind* const pOne : g_SectionKinds())
            sKnown += (sKnown.empty() ? "" : ", ") + std::string(pOne->sName);
        return Fail("a section that this program knows (" + sKnown + ")", sHeading);
    }
    ++m_uSections;
    m_bMachine |= pKind == &kMachineSection;
    m_pSection = pKind->pOpen(*this, sArgument);
    return m_pSection || (m_rsError.empty() && Fail(pKind->pszForm, sHeading));
}

bool CMachineReader::Fail(const std::string& sExpected, std::string_view sFound) {
    std::string sShown(g_Trim(sFound.substr(0, 40)));
    for (char& c : sShown)
        if (c < ' ' || c > '~') c = '?';
    m_rsError = m_sFile + ":" + std::to_string(m_uLine) + ": expected " + sExpected + ", found " +
                (sShown.empty() ? "nothing" : sShown);
    return false;
}

std::string_view CMachineReader::WithoutComment(std::string_view sLine) {
    return sLine.substr(0, std::min(sLine.find('#'), sLine.size()));
}

bool CMachineReader::Split(std::string_view sLine, std::string_view& rsLeft, std::string_view& rsRight) {
    const size_t uEqual = sLine.find('=');
    if (uEqual == std::string_view::npos) return Fail("a line with =", sLine);
    rsLeft = g_Trim(sLine.substr(0, uEqual));
    rsRight = g_TrimLeft(sLine.substr(uEqual + 1));
    return true;
}

bool CMachineReader::MayAdd(size_t uPresent) {
    if (uPresent >= kMaximumEntries) return Fail("at most " + std::to_string(kMaximumEntries) + " of a kind", "more");
    return Charge(kEntryBytes);
}

bool CMachineReader::Charge(size_t uBytes) {
    m_uData += uBytes;
    return m_uData <= kMaximumData || Fail("at most 32 MiB of data", "more");
}

void CMachineReader::AtEnd(std::function<bool(CMachineReader& rReader)> Check) {
    m_LaterChecks.push_back({m_uLine, std::move(Check)});
}

void CMachineReader::NameCore(uint32_t uCore) {
    AtEnd([uCore](CMachineReader& rReader) {
        const uint32_t uCores = rReader.Machine().uCores;
        return uCore < uCores || rReader.Fail("a core below " + std::to_string(uCores), std::to_string(uCore));
    });
}

// --- values

std::string_view CMachineReader::_TakeWord(std::string_view& rsText) { return g_TakeWord(rsText); }

bool CMachineReader::_Number(std::string_view sValue, int64_t& rllValue, int64_t llMinimum, int64_t llMaximum) {
    const auto oValue = g_Decimal(g_Trim(WithoutComment(sValue)));
    if (!oValue || *oValue < llMinimum || *oValue > llMaximum)
        return Fail("a number from " + std::to_string(llMinimum) + " to " + std::to_string(llMaximum), sValue);
    rllValue = *oValue;
    return true;
}

bool CMachineReader::Bytes(std::string_view sValue, std::vector<uint8_t>& rList, size_t uMaximum) {
    return List(sValue, rList, uMaximum, [this](std::string_view sWord, uint8_t& rucByte) {
        const auto oValue = g_Hex(sWord, 2);
        rucByte = static_cast<uint8_t>(oValue.value_or(0));
        return oValue || Fail("bytes of up to 2 digits", sWord);
    });
}

bool CMachineReader::Text(std::string_view sText, std::string& rsText, size_t uMaximum) {
    if (sText.size() > uMaximum) return Fail("at most " + std::to_string(uMaximum) + " characters", sText);
    rsText = sText;
    return Charge(sText.size());
}

bool CMachineReader::Texts(std::string_view sText, std::vector<std::string>& rList, size_t uMaximum,
                           size_t uCharacters) {
    rList.clear();
    for (bool bMore = !sText.empty(); bMore;) {
        if (rList.size() == uMaximum) return Fail("at most " + std::to_string(uMaximum) + " of them", "more");
        const size_t uEnd = std::min(sText.find('|'), sText.size());
        if (!Text(sText.substr(0, uEnd), rList.emplace_back(), uCharacters) || !Charge(kEntryBytes)) return false;
        bMore = uEnd < sText.size();
        sText.remove_prefix(std::min(uEnd + 1, sText.size()));
    }
    return true;
}

bool CMachineReader::Value(std::string_view sValue, bool& rbFlag) {
    uint8_t ucFlag = 0;
    const bool bRetCode = Number(sValue, ucFlag, 1);
    rbFlag = ucFlag != 0;
    return bRetCode;
}

bool CMachineReader::Value(std::string_view sValue, std::string& rsText) { return Text(g_Trim(sValue), rsText); }

// --- marks

bool CMachineReader::Begin() {
    if (m_uSections != 1 || m_bBegun) return Fail("[begin] before everything else", m_sHeading);
    m_uSections = 0;
    return m_bBegun = true;
}

bool CMachineReader::End() { return (m_bEnded = m_bBegun) || Fail("[begin] before everything else", m_sHeading); }

// --- bases

bool CMachineReader::BaseOn(std::string_view sName) {
    if (m_uSections != 1 || m_oBase || m_rMachine != CMachineDescription())
        return Fail("based_on before everything else", sName);
    const CEmbeddedMachine* const pEmbedded = g_FindEmbedded(sName);
    const bool bAsItIs = pEmbedded || !m_psFolder || sName.empty() || g_IsAbsolute(sName);
    const std::string sPath = (bAsItIs ? "" : *m_psFolder) + std::string(sName);
    if (std::ranges::find(m_Chain, sPath) != m_Chain.end())
        return Fail("a machine that is not based on this one", sName);
    if (m_Chain.size() > kMaximumBases)
        return Fail("at most " + std::to_string(kMaximumBases) + " machines above each other", sName);
    std::optional<std::string> oText;
    if (!pEmbedded && m_psFolder && !sName.empty()) oText = g_FileText(sPath);
    if (!pEmbedded && !oText)
        return Fail(
            (m_psFolder ? "a readable machine file or one of the built-in machines" : "one of the built-in machines") +
                g_BuiltInMachines(),
            sName);

    std::vector<std::string> Chain = m_Chain;
    Chain.push_back(sPath);
    const std::string sFile = pEmbedded ? std::string(sName) + ".machine" : sPath, sFolder = g_FolderOf(sPath);
    m_oBase.emplace();
    CMachineReader Reader(*m_oBase, m_rsError);
    return Reader.Read(pEmbedded ? pEmbedded->sText : *oText, sFile, std::move(Chain), pEmbedded ? nullptr : &sFolder);
}

bool CMachineReader::Without(std::string_view sList) {
    sList = WithoutComment(sList);
    if (!m_oBase) return Fail("based_on before without", sList);
    while (!g_Trim(sList).empty()) {
        const size_t uEnd = std::min(sList.find(','), sList.size());
        const std::string_view sHeading = g_Trim(sList.substr(0, uEnd));
        std::string_view sArgument = sHeading;
        const CSectionKind* const pKind = g_FindSectionKind(sArgument);
        if (!pKind || !pKind->pForget || !pKind->pForget(*m_oBase, sArgument))
            return Fail("sections that the base has, like acpi MCFG, firmware", sHeading);
        sList.remove_prefix(std::min(uEnd + 1, sList.size()));
    }
    return true;
}

// --- machines

bool g_ParseMachine(std::string_view sText, const std::string& sFile, CMachineDescription& rMachine,
                    std::string& rsError) {
    rMachine = {};
    rsError.clear();
    return CMachineReader(rMachine, rsError).Read(sText, sFile, {sFile}, nullptr);
}

bool g_LoadMachine(const std::string& sNameOrPath, CMachineDescription& rMachine, std::string& rsError) {
    if (const CEmbeddedMachine* const pEmbedded = g_FindEmbedded(sNameOrPath)) {
        rMachine = {};
        rsError.clear();
        return CMachineReader(rMachine, rsError)
            .Read(pEmbedded->sText, sNameOrPath + ".machine", {sNameOrPath}, nullptr);
    }
    return g_LoadMachineFile(sNameOrPath, sNameOrPath, rMachine, rsError);
}

bool g_LoadMachineFile(const std::string& sPath, const std::string& sShown, CMachineDescription& rMachine,
                       std::string& rsError) {
    const std::optional<std::string> oText = g_FileText(sPath);
    if (!oText) {
        rsError = sShown + ": no such machine: expected a readable machine file or one of the built-in machines" +
                  g_BuiltInMachines();
        return false;
    }
    const std::string sFolder = g_FolderOf(sPath);
    rMachine = {};
    rsError.clear();
    return CMachineReader(rMachine, rsError).Read(*oText, sShown, {sPath}, &sFolder);
}

std::vector<std::string> g_MachineNames() {
    std::vector<std::string> Names;
    for (const CEmbeddedMachine& rMachine : g_EmbeddedMachines) Names.emplace_back(rMachine.sName);
    return Names;
}

}  // namespace vxtsim
