// Reading machine files: one class, one function a kind of line.
#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <limits>
#include <numeric>
#include <optional>
#include <set>

#include "firmware.h"
#include "machine_file.h"
#include "machine_words.h"
#include "wmi.h"

namespace vxtsim {

namespace {

// Bounds on what a file may ask for: far above any real PC, far below what would hurt this one.
constexpr size_t kMaximumRegion = 4u << 20, kMaximumData = 32u << 20;
constexpr size_t kPciBytes = 256, kExtendedPciBytes = 4096, kSmbusBytes = 256;
constexpr size_t kTableChecksum = 9;                ///< of an ACPI table: the whole sums up to zero
constexpr uint32_t kMaximumDramIndex = 0x3FFFFFFF;  // 30 bits
constexpr size_t kMaximumEntries = 4096, kMaximumText = 4096;
constexpr size_t kEntryBytes = 64;  ///< what an element, a property or the like counts in the budget beside its content
constexpr uint32_t kMaximumDelay = 3'600'000;

class CMachineParser {
public:
    CMachineParser(std::string_view sText, const std::string& sFile, CMachineDescription& rMachine,
                   std::string& rsError)
        : m_sText(sText), m_sFile(sFile), m_rMachine(rMachine), m_rsError(rsError) {}

    bool Parse() {
        if (m_sText.size() > kMaximumFile) return _Fail("at most 16 MiB of text", "more");
        while (!m_sText.empty()) {
            ++m_uLine;
            const size_t uEnd = std::min(m_sText.find('\n'), m_sText.size());
            const std::string_view sLine = g_TrimLeft(m_sText.substr(0, uEnd));
            m_sText.remove_prefix(std::min(uEnd + 1, m_sText.size()));
            if (g_Trim(sLine).empty() || sLine[0] == '#') continue;
            const bool bRetCode = sLine[0] == '[' ? _Close() && _OpenSection(g_Trim(_WithoutComment(sLine)))
                                  : m_pSection    ? (this->*m_pSection->pLine)(sLine)
                                                  : _Fail("a section like [machine]", sLine);
            if (!bRetCode) return false;
        }
        if (!_Close()) return false;
        if (!m_bMachine) return _Fail("a [machine] section", "none");
        for (const auto& [Key, ullValue] : m_rMachine.Msr)
            if (Key.first != kAllCores && Key.first >= m_rMachine.uCores) {
                m_uLine = m_uCoreLine;
                return _Fail("a core below " + std::to_string(m_rMachine.uCores), std::to_string(Key.first));
            }
        return true;
    }

private:
    /// One kind of section: the form of its heading and how its lines are read.
    struct CSection {
        std::string_view sName;
        const char* pszForm;
        bool (CMachineParser::*pOpen)(std::string_view sArgument);
        bool (CMachineParser::*pLine)(std::string_view sLine);
    };
    static const CSection s_aSections[12];

    bool _Fail(const std::string& sExpected, std::string_view sFound) {
        std::string sShown(g_Trim(sFound.substr(0, 40)));
        for (char& c : sShown)
            if (c < ' ' || c > '~') c = '?';
        m_rsError = m_sFile + ":" + std::to_string(m_uLine) + ": expected " + sExpected + ", found " +
                    (sShown.empty() ? "nothing" : sShown);
        return false;
    }

    static std::string_view _WithoutComment(std::string_view sLine) {
        return sLine.substr(0, std::min(sLine.find('#'), sLine.size()));
    }

    bool _OpenSection(std::string_view sHeading) {
        m_pSection = nullptr, m_pDump = nullptr, m_bCompleteChecksum = false;
        m_Keys.clear();
        if (!sHeading.ends_with(']')) return _Fail("a section heading that ends with ]", sHeading);
        std::string_view sArgument = sHeading.substr(1, sHeading.size() - 2);
        const std::string_view sName = g_TakeWord(sArgument);
        const auto pSection = std::ranges::find(s_aSections, sName, &CSection::sName);
        if (pSection == std::end(s_aSections)) {
            std::string sKnown = "a section that this program knows (";
            for (const CSection& rSection : s_aSections) sKnown += std::string(rSection.sName) + ", ";
            sKnown.replace(sKnown.size() - 2, 2, ")");
            return _Fail(sKnown, sHeading);
        }
        m_pSection = pSection;
        return (this->*pSection->pOpen)(g_Trim(sArgument)) || (m_rsError.empty() && _Fail(pSection->pszForm, sHeading));
    }

    /// The end of a section: what its lines asked for as a whole.
    bool _Close() {
        if (!m_bCompleteChecksum) return true;
        if (m_pDump->size() <= kTableChecksum) return _Fail("a table of at least 10 bytes", "fewer");
        uint8_t& rucChecksum = (*m_pDump)[kTableChecksum];
        rucChecksum = 0;
        rucChecksum = static_cast<uint8_t>(-std::accumulate(m_pDump->begin(), m_pDump->end(), 0u));
        return true;
    }

    // --- headings: false without an error text stands for "not of this form" -----------------------------------------
    bool _OpenMachine(std::string_view sArgument) { return m_bMachine = sArgument.empty(); }
    bool _OpenPlain(std::string_view sArgument) { return sArgument.empty(); }

    bool _OpenMsr(std::string_view sArgument) {
        m_uCore = kAllCores;
        if (sArgument.empty()) return true;
        if (g_TakeWord(sArgument) != "core") return false;
        const std::optional<uint64_t> Core = g_Millionths(g_Trim(sArgument));
        if (!Core || *Core % kMillion || *Core / kMillion >= kMaximumCores) return false;
        m_uCore = static_cast<uint32_t>(*Core / kMillion), m_uCoreLine = m_uLine;
        return true;
    }

    bool _OpenPci(std::string_view sArgument) {
        const size_t uColon = sArgument.find(':'), uPoint = sArgument.find('.');
        if (uColon == std::string_view::npos || uPoint == std::string_view::npos || uPoint < uColon) return false;
        const auto Bus = g_Hex(sArgument.substr(0, uColon), 2);
        const auto Device = g_Hex(sArgument.substr(uColon + 1, uPoint - uColon - 1), 2);
        const auto Function = g_Hex(sArgument.substr(uPoint + 1), 1);
        if (!Bus || !Device || *Device > 31 || !Function || *Function > 7) return false;
        const CPciAddress Address{static_cast<uint8_t>(*Bus), static_cast<uint8_t>(*Device),
                                  static_cast<uint8_t>(*Function)};
        return _OpenDump(m_rMachine.Pci, Address, kExtendedPciBytes, sArgument) && _Grow(kPciBytes);
    }
    bool _OpenMemory(std::string_view sArgument) {
        const auto Address = g_Hex(sArgument, 16);
        return Address && _OpenDump(m_rMachine.Memory, *Address,
                                    static_cast<size_t>(std::min<uint64_t>(kMaximumRegion, ~*Address)), sArgument);
    }
    bool _OpenSmbus(std::string_view sArgument) {
        const auto Address = g_Hex(sArgument, 2);
        return Address && *Address < 0x80 &&
               _OpenDump(m_rMachine.Smbus, static_cast<uint8_t>(*Address), kSmbusBytes, sArgument);
    }
    bool _OpenAcpi(std::string_view sArgument) {
        constexpr std::string_view kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_";
        if (sArgument.size() != 4 || sArgument.find_first_not_of(kLetters) != std::string_view::npos) return false;
        m_rMachine.Acpi.emplace_back(sArgument, std::vector<uint8_t>());
        _StartDump(m_rMachine.Acpi.back().second, kMaximumRegion);
        return true;
    }
    bool _OpenWmi(std::string_view sArgument) {
        std::string sNamespace = CSimWmi::NamespaceName(g_TakeWord(sArgument));
        const std::string_view sClass = g_Trim(sArgument);
        if (sNamespace.empty() || !g_IsName(sClass)) return false;
        m_pKey = &CMachineParser::_WmiKey;
        if (sNamespace == CSimFirmware::kNamespace && CSimFirmware::HasClass(sClass))
            return _Fail("[firmware] for a class of the firmware", sClass);
        if (!_MayAdd(m_rMachine.Wmi.size())) return false;
        m_rMachine.Wmi.push_back({std::move(sNamespace), std::string(sClass), {}});
        return true;
    }
    bool _OpenFirmware(std::string_view sArgument) {
        const std::string_view sWhat = sArgument, sPart = g_TakeWord(sArgument);
        auto& rFirmware = m_rMachine.Firmware;
        sArgument = g_Trim(sArgument);
        if (sPart.empty()) {
            if (rFirmware) return _Fail("one firmware", "another");
            rFirmware.emplace();
            m_pKey = &CMachineParser::_FirmwareKey;
            return true;
        }
        if (!rFirmware) return _Fail("[firmware] before its parts", sWhat);
        if (sPart == "object") {
            const auto Id = g_Hex(sArgument, 8);
            if (!Id) return false;
            m_pKey = &CMachineParser::_ObjectKey;
            for (const CFirmwareObject& rObject : rFirmware->Objects)
                if (rObject.uId == *Id) return _Fail("each object once", std::string(sArgument) + " again");
            if (!_MayAdd(rFirmware->Objects.size())) return false;
            rFirmware->Objects.emplace_back().uId = static_cast<uint32_t>(*Id);
        } else if (sPart == "item") {
            if (!sArgument.empty()) return false;
            m_pKey = &CMachineParser::_ItemKey;
            if (!_MayAdd(rFirmware->Items.size())) return false;
            rFirmware->Items.emplace_back();
        } else if (sPart == "command") {
            const auto Code = g_Hex(sArgument, 8);
            if (!Code) return false;
            m_pKey = &CMachineParser::_ResultKey;
            const auto [it, bNew] = rFirmware->Results.try_emplace(static_cast<uint32_t>(*Code));
            if (!bNew) return _Fail("each command once", std::string(sArgument) + " again");
            m_pDump = &it->second;
            return _MayAdd(rFirmware->Results.size() - 1);
        } else if (sPart == "answer") {
            if (!CSimFirmware::HasMethod(sArgument)) return _Fail("a method of the firmware", sArgument);
            m_pKey = &CMachineParser::_AnswerKey;
            const auto [it, bNew] = rFirmware->Answers.try_emplace(std::string(sArgument));
            if (!bNew) return _Fail("each method once", std::string(sArgument) + " again");
            m_pAnswer = &*it;
        } else {
            return false;
        }
        return true;
    }
    /// Room for one more of its kind?
    bool _MayAdd(size_t uPresent) {
        if (uPresent >= kMaximumEntries)
            return _Fail("at most " + std::to_string(kMaximumEntries) + " of a kind", "more");
        return _Charge(kEntryBytes);
    }
    template <class TKey>
    bool _OpenDump(std::map<TKey, std::vector<uint8_t>>& rMap, const TKey& rKey, size_t uLimit,
                   std::string_view sArgument) {
        const auto [it, bNew] = rMap.try_emplace(rKey);
        if (!bNew) return _Fail("each dump once", std::string(sArgument) + " again");
        _StartDump(it->second, uLimit);
        return true;
    }
    void _StartDump(std::vector<uint8_t>& rDump, size_t uLimit) {
        m_pDump = &rDump, m_uDumpLimit = uLimit, m_uDumpNext = 0;
    }

    // --- lines ------------------------------------------------------------------------------------------------------
    /// "left = right"; false (with the error text) when there is no such pair.
    bool _Split(std::string_view sLine, std::string_view& rsLeft, std::string_view& rsRight) {
        const size_t uEqual = sLine.find('=');
        if (uEqual == std::string_view::npos) return _Fail("a line with =", sLine);
        rsLeft = g_Trim(sLine.substr(0, uEqual));
        rsRight = g_TrimLeft(sLine.substr(uEqual + 1));
        return true;
    }

    bool _MachineLine(std::string_view sLine) {
        std::string_view sKey, sValue;
        if (!_Split(sLine, sKey, sValue)) return false;
        if (sKey == "name") {
            m_rMachine.sName = g_Trim(sValue);
            return true;
        }
        const auto Value = g_Millionths(g_Trim(_WithoutComment(sValue)));
        if (sKey == "cores") {
            if (!Value || *Value % kMillion || *Value == 0 || *Value > uint64_t{kMaximumCores} * kMillion)
                return _Fail("1 to 64 cores", sValue);
            m_rMachine.uCores = static_cast<uint32_t>(*Value / kMillion);
        } else if (sKey == "reference_clock") {
            m_rMachine.dReferenceMHz = static_cast<double>(Value.value_or(0)) / kMillion;
            if (m_rMachine.dReferenceMHz < kMinimumReferenceMHz || m_rMachine.dReferenceMHz > kMaximumReferenceMHz)
                return _Fail("a clock of 1 to 1000 MHz", sValue);
        } else {
            return _Fail("name, cores or reference_clock", sKey);
        }
        return true;
    }

    bool _CpuidLine(std::string_view sLine) {
        std::string_view sKey, sValue;
        if (!_Split(_WithoutComment(sLine), sKey, sValue)) return false;
        const size_t uPoint = std::min(sKey.find('.'), sKey.size());
        const auto Leaf = g_Hex(sKey.substr(0, uPoint), 8);
        const auto Subleaf = uPoint == sKey.size() ? 0 : g_Hex(sKey.substr(uPoint + 1), 8);
        if (!Leaf || !Subleaf) return _Fail("a leaf like 80000001 or 0000000B.1", sKey);
        uint32_t auValues[4];
        std::string_view sRest = sValue;
        for (uint32_t& ruValue : auValues) {
            const auto Value = g_Hex(g_TakeWord(sRest), 8);
            if (!Value) return _Fail("four registers of up to 8 digits", sValue);
            ruValue = static_cast<uint32_t>(*Value);
        }
        if (!g_Trim(sRest).empty()) return _Fail("four registers of up to 8 digits", sValue);
        const bool bNew = m_rMachine.Cpuid
                              .try_emplace({static_cast<uint32_t>(*Leaf), static_cast<uint32_t>(*Subleaf)},
                                           CCpuidResult{auValues[0], auValues[1], auValues[2], auValues[3]})
                              .second;
        return bNew || _Fail("each leaf once", std::string(sKey) + " again");
    }

    bool _MsrLine(std::string_view sLine) {
        std::string_view sKey, sValue;
        if (!_Split(_WithoutComment(sLine), sKey, sValue)) return false;
        const auto Index = g_Hex(sKey, 8), Value = g_Hex(g_Trim(sValue), 16);
        if (!Index) return _Fail("a register index of up to 8 digits", sKey);
        if (!Value) return _Fail("a value of up to 16 digits", sValue);
        const bool bNew = m_rMachine.Msr.try_emplace({m_uCore, static_cast<uint32_t>(*Index)}, *Value).second;
        return bNew || _Fail("each register once", std::string(sKey) + " again");
    }

    bool _DramDataLine(std::string_view sLine) {
        std::string_view sKey, sValue;
        if (!_Split(_WithoutComment(sLine), sKey, sValue)) return false;
        const size_t uPoint = std::min(sKey.find('.'), sKey.size());
        const auto Pair = g_Hex(sKey.substr(0, uPoint), 1), Value = g_Hex(g_Trim(sValue), 8);
        const auto Index = g_Hex(sKey.substr(std::min(uPoint + 1, sKey.size())), 8);
        if (!Pair || *Pair > 1 || !Index || *Index > kMaximumDramIndex)
            return _Fail("a register like 0.00 or 1.13", sKey);
        if (!Value) return _Fail("a value of up to 8 digits", sValue);
        const std::pair Key(static_cast<uint32_t>(*Pair), static_cast<uint32_t>(*Index));
        return m_rMachine.DramData.try_emplace(Key, static_cast<uint32_t>(*Value)).second ||
               _Fail("each register once", std::string(sKey) + " again");
    }

    bool _PortLine(std::string_view sLine) {
        std::string_view sKey, sValue;
        if (!_Split(_WithoutComment(sLine), sKey, sValue)) return false;
        const auto Port = g_Hex(sKey, 4);
        if (!Port) return _Fail("a port of up to 4 digits", sKey);
        uint64_t ullPort = *Port;
        do {
            const std::string_view sWord = g_TakeWord(sValue);
            const auto Value = g_Hex(sWord, 2);
            if (!Value) return _Fail("bytes of up to 2 digits", sWord);
            if (ullPort > 0xFFFF) return _Fail("ports up to FFFF", "more bytes");
            if (!m_rMachine.Ports.try_emplace(static_cast<uint16_t>(ullPort++), static_cast<uint8_t>(*Value)).second)
                return _Fail("each port once", std::string(sKey) + " again");
        } while (!(sValue = g_Trim(sValue)).empty());
        return true;
    }

    bool _RegistryLine(std::string_view sLine) {
        std::string_view sKey, sValue;
        if (!_Split(sLine, sKey, sValue)) return false;
        const size_t uMark = sKey.find('!');
        if (uMark == 0 || uMark >= sKey.size() - 1) return _Fail("a name like key\\path!value", sKey);
        if (sValue.starts_with("dword:")) {
            sValue = g_Trim(sValue);
            if (!g_Hex(sValue.substr(6), 8)) return _Fail("dword: and up to 8 digits", sValue);
        } else if (sValue.starts_with("sz:")) {
            while (sValue.ends_with('\r')) sValue.remove_suffix(1);
        } else {
            return _Fail("dword:00000000 or sz:text", sValue);
        }
        return m_rMachine.Registry.try_emplace(std::string(sKey), sValue).second ||
               _Fail("each value once", std::string(sKey) + " again");
    }

    // --- management data and firmware -------------------------------------------------------------------------------
    /// "key = value", each key once in a section. Which keys there are the section's heading decides.
    bool _KeyLine(std::string_view sLine) {
        std::string_view sKey, sValue;
        if (!_Split(sLine, sKey, sValue) || !_MayAdd(m_Keys.size())) return false;
        if (!m_Keys.emplace(sKey).second) return _Fail("each key once", std::string(sKey) + " again");
        return (this->*m_pKey)(sKey, sValue);
    }

    template <class TNumber>
    bool _Number(std::string_view sValue, TNumber& rNumber, int64_t llMaximum = std::numeric_limits<TNumber>::max()) {
        constexpr int64_t kMinimum = std::numeric_limits<TNumber>::min();
        const auto Value = g_Decimal(g_Trim(_WithoutComment(sValue)));
        if (!Value || *Value < kMinimum || *Value > llMaximum)
            return _Fail("a number from " + std::to_string(kMinimum) + " to " + std::to_string(llMaximum), sValue);
        rNumber = static_cast<TNumber>(*Value);
        return true;
    }
    bool _Flag(std::string_view sValue, bool& rbFlag) {
        uint8_t ucFlag = 0;
        const bool bRetCode = _Number(sValue, ucFlag, 1);
        rbFlag = ucFlag != 0;
        return bRetCode;
    }
    /// Words up to the end of the line; `Read(word, element)` reads each.
    template <class TElement, class TRead>
    bool _List(std::string_view sValue, std::vector<TElement>& rList, size_t uMaximum, TRead Read) {
        rList.clear();
        sValue = _WithoutComment(sValue);
        for (auto sWord = g_TakeWord(sValue); !sWord.empty(); sWord = g_TakeWord(sValue)) {
            if (rList.size() == uMaximum) return _Fail("at most " + std::to_string(uMaximum) + " of them", "more");
            if (!Read(sWord, rList.emplace_back()) || !_Charge(sizeof(TElement))) return false;
        }
        return true;
    }
    template <class TNumber> bool _NumberList(std::string_view sValue, std::vector<TNumber>& rList) {
        return _List(sValue, rList, kMaximumEntries,
                     [this](std::string_view sWord, TNumber& rNumber) { return _Number(sWord, rNumber); });
    }
    bool _ByteList(std::string_view sValue, std::vector<uint8_t>& rList, size_t uMaximum) {
        return _List(sValue, rList, uMaximum, [this](std::string_view sWord, uint8_t& rucByte) {
            const auto Value = g_Hex(sWord, 2);
            rucByte = static_cast<uint8_t>(Value.value_or(0));
            return Value || _Fail("bytes of up to 2 digits", sWord);
        });
    }
    bool _Text(std::string_view sText, std::string& rsText, size_t uMaximum = kMaximumText) {
        if (sText.size() > uMaximum) return _Fail("at most " + std::to_string(uMaximum) + " characters", sText);
        rsText = sText;
        return _Charge(sText.size());
    }
    /// "one|two"; nothing at all is no text.
    bool _TextList(std::string_view sText, std::vector<std::string>& rList, size_t uMaximum, size_t uCharacters) {
        rList.clear();
        for (bool bMore = !sText.empty(); bMore;) {
            if (rList.size() == uMaximum) return _Fail("at most " + std::to_string(uMaximum) + " of them", "more");
            const size_t uEnd = std::min(sText.find('|'), sText.size());
            if (!_Text(sText.substr(0, uEnd), rList.emplace_back(), uCharacters) || !_Charge(kEntryBytes)) return false;
            bMore = uEnd < sText.size();
            sText.remove_prefix(std::min(uEnd + 1, sText.size()));
        }
        return true;
    }

    /// A value; nothing in it stands for a missing property.
    bool _Value(std::string_view sText, std::optional<CWmiValue>& rValue, bool bMayMiss) {
        while (sText.ends_with('\r')) sText.remove_suffix(1);
        const std::string_view sWord = g_Trim(_WithoutComment(sText));
        if (bMayMiss && sWord == kMissing) return rValue.reset(), true;
        const auto pPlain = std::ranges::find(kPlainValues, sWord, &CPlainValue::sWord);
        if (pPlain != std::end(kPlainValues)) return rValue = pPlain->Value(), true;

        const size_t uColon = std::min(sText.find(':'), sText.size());
        const std::string_view sType = sText.substr(0, uColon);
        const std::string_view sRest = sText.substr(std::min(uColon + 1, sText.size()));
        CWmiValue& rResult = rValue.emplace();
        const auto Is = [&](std::string_view sName, uint16_t usType) {
            if (uColon == sText.size() || sType != sName) return false;
            rResult.usType = usType;
            return true;
        };
        if (Is("number", CWmiValue::kInteger)) return _Number(sRest, rResult.nNumber);
        if (Is("text", CWmiValue::kText)) return _Text(sRest, rResult.sText);
        if (Is("numbers", CWmiValue::kIntegers)) return _NumberList(sRest, rResult.Integers);
        if (Is("bytes", CWmiValue::kBytes)) return _ByteList(sRest, rResult.Bytes, kMaximumEntries);
        if (Is("texts", CWmiValue::kTexts)) return _TextList(sRest, rResult.Texts, kMaximumEntries, kMaximumText);
        if (Is("other", 0)) return _Number(sRest, rResult.usType);
        if (Is("bool", CWmiValue::kBoolean)) {
            bool bFlag = false;
            const bool bRetCode = _Flag(sRest, bFlag);
            rResult.nNumber = bFlag;
            return bRetCode;
        }
        std::string sKnown = "number:, text:, bool:, numbers:, bytes:, texts:, other:";
        for (const CPlainValue& rPlain : kPlainValues) sKnown += ", " + std::string(rPlain.sWord);
        if (bMayMiss) sKnown += ", " + std::string(kMissing);
        return _Fail(sKnown, sText);
    }

    bool _WmiKey(std::string_view sKey, std::string_view sValue) {
        if (!g_IsName(sKey)) return _Fail("a property's name", sKey);
        std::optional<CWmiValue> Value;
        if (!_Value(sValue, Value, false)) return false;
        m_rMachine.Wmi.back().Properties[std::string(sKey)] = std::move(*Value);
        return true;
    }

    bool _FirmwareKey(std::string_view sKey, std::string_view sValue) {
        CFirmwareDescription& rFirmware = *m_rMachine.Firmware;
        if (sKey == "version") return _Number(sValue, rFirmware.nVersion);
        if (sKey == "vendor") return _Text(g_Trim(sValue), rFirmware.sVendor, CFirmwareDescription::kVendorBytes);
        if (sKey == "static_methods") return _Flag(sValue, rFirmware.bStaticMethods);
        if (sKey == "commands")
            return _List(sValue, rFirmware.Commands, kMaximumEntries, [this](std::string_view sWord, uint32_t& ruCode) {
                const auto Code = g_Hex(sWord, 8);
                ruCode = static_cast<uint32_t>(Code.value_or(0));
                return Code || _Fail("command codes of up to 8 digits", sWord);
            });
        if (sKey == "graphics") {
            std::vector<uint8_t> Bytes;
            if (!_ByteList(sValue, Bytes, 2)) return false;
            if (Bytes.size() != 2) return _Fail("information and presence byte", sValue);
            rFirmware.ucGraphics = Bytes[0], rFirmware.ucGraphicsPresent = Bytes[1];
            return true;
        }
        return _Fail("version, commands, vendor, graphics or static_methods", sKey);
    }

    bool _ObjectKey(std::string_view sKey, std::string_view sValue) {
        CFirmwareObject& rObject = m_rMachine.Firmware->Objects.back();
        if (sKey == "name") return _Text(g_Trim(sValue), rObject.sName);
        if (sKey == "property") return _Number(sValue, rObject.uProperty);
        if (sKey == "value") return _Number(sValue, rObject.nValue);
        if (sKey == "values") return _NumberList(sValue, rObject.Values);
        if (sKey == "info") return _NumberList(sValue, rObject.Info);
        if (sKey == "status") return _Number(sValue, rObject.nStatus);
        if (sKey == "stuck") return _Flag(sValue, rObject.bStuck);
        return _Fail("name, property, value, values, info, status or stuck", sKey);
    }

    bool _ItemKey(std::string_view sKey, std::string_view sValue) {
        CFirmwareItem& rItem = m_rMachine.Firmware->Items.back();
        if (sKey == "name") return _Text(g_Trim(sValue), rItem.sName, CFirmwareItem::kNameBytes);
        if (sKey == "value") return _Number(sValue, rItem.usValue);
        if (sKey == "options")
            return _TextList(g_Trim(sValue), rItem.Options, CFirmwareItem::kOptions, CFirmwareItem::kOptionBytes);
        return _Fail("name, value or options", sKey);
    }

    bool _ResultKey(std::string_view sKey, std::string_view sValue) {
        return sKey == "result" ? _ByteList(sValue, *m_pDump, CSimFirmware::kResultBytes) : _Fail("result", sKey);
    }

    bool _AnswerKey(std::string_view sKey, std::string_view sValue) {
        auto& [sMethod, rAnswer] = *m_pAnswer;
        if (sKey == "fails") return _Flag(sValue, rAnswer.bFails);
        if (sKey == "delay") return _Number(sValue, rAnswer.uMilliseconds, kMaximumDelay);
        if (!CSimFirmware::HasAnswer(sMethod, sKey))
            return _Fail("fails, delay or a property of what " + sMethod + " answers", sKey);
        return _Value(sValue, rAnswer.Properties[std::string(sKey)], true);
    }

    bool _AcpiLine(std::string_view sLine) {
        if (sLine.find('=') == std::string_view::npos) return _DumpLine(sLine);
        std::string_view sKey, sValue;
        (void)_Split(_WithoutComment(sLine), sKey, sValue);
        if (sKey != "checksum" || g_Trim(sValue) != "complete")
            return _Fail("dump lines or checksum = complete", sLine);
        return m_bCompleteChecksum = true;
    }

    bool _DumpLine(std::string_view sLine) {
        std::string_view sRest = _WithoutComment(sLine);
        std::string_view sWord = g_TakeWord(sRest);
        if (sWord.ends_with(':')) {
            const auto Offset = g_Hex(sWord.substr(0, sWord.size() - 1), 8);
            if (!Offset || *Offset < m_uDumpNext || *Offset >= m_uDumpLimit)
                return _Fail("an offset from " + _HexText(m_uDumpNext) + " below " + _HexText(m_uDumpLimit), sWord);
            m_uDumpNext = static_cast<size_t>(*Offset);
            sWord = g_TakeWord(sRest);
        }
        for (; !sWord.empty(); sWord = g_TakeWord(sRest)) {
            const auto Value = sWord.size() == 2 ? g_Hex(sWord, 2) : std::nullopt;
            if (!Value) return _Fail("bytes of two digits", sWord);
            if (m_uDumpNext >= m_uDumpLimit) return _Fail("at most " + _HexText(m_uDumpLimit) + " bytes", "more");
            if (!_Grow(m_uDumpNext + 1)) return false;
            (*m_pDump)[m_uDumpNext++] = static_cast<uint8_t>(*Value);
        }
        return true;
    }

    /// Makes room in the dump, within the budget of the whole file. A PCI function has one of two sizes.
    bool _Grow(size_t uSize) {
        if (uSize <= m_pDump->size()) return true;
        if (m_pSection->sName == "pci") uSize = uSize > kPciBytes ? kExtendedPciBytes : kPciBytes;
        if (!_Charge(uSize - m_pDump->size())) return false;
        m_pDump->resize(uSize);
        return true;
    }
    bool _Charge(size_t uBytes) {
        m_uData += uBytes;
        return m_uData <= kMaximumData || _Fail("at most 32 MiB of data", "more");
    }

    static std::string _HexText(size_t uValue) {
        char szText[16];
        std::snprintf(szText, sizeof(szText), "%X", static_cast<uint32_t>(uValue));
        return szText;
    }

    std::string_view m_sText;
    const std::string& m_sFile;
    CMachineDescription& m_rMachine;
    std::string& m_rsError;
    size_t m_uLine = 0, m_uCoreLine = 0;
    const CSection* m_pSection = nullptr;
    bool m_bMachine = false;
    uint32_t m_uCore = kAllCores;  ///< of the current [msr] section
    std::vector<uint8_t>* m_pDump = nullptr;
    size_t m_uDumpLimit = 0, m_uDumpNext = 0;
    bool m_bCompleteChecksum = false;
    bool (CMachineParser::*m_pKey)(std::string_view sKey, std::string_view sValue) = nullptr;  ///< reads a _KeyLine
    std::set<std::string, std::less<>> m_Keys;                                                 ///< of those so far
    std::pair<const std::string, CFirmwareAnswer>* m_pAnswer = nullptr;
    size_t m_uData = 0;  ///< bytes of all that was read
};

const CMachineParser::CSection CMachineParser::s_aSections[12] = {
    {"machine", "[machine]", &CMachineParser::_OpenMachine, &CMachineParser::_MachineLine},
    {"cpuid", "[cpuid]", &CMachineParser::_OpenPlain, &CMachineParser::_CpuidLine},
    {"msr", "[msr] or [msr core N]", &CMachineParser::_OpenMsr, &CMachineParser::_MsrLine},
    {"pci", "[pci BUS:DEVICE.FUNCTION]", &CMachineParser::_OpenPci, &CMachineParser::_DumpLine},
    {"memory", "[memory ADDRESS]", &CMachineParser::_OpenMemory, &CMachineParser::_DumpLine},
    {"acpi", "[acpi SIGNATURE] of four letters or digits", &CMachineParser::_OpenAcpi, &CMachineParser::_AcpiLine},
    {"dram_data", "[dram_data]", &CMachineParser::_OpenPlain, &CMachineParser::_DramDataLine},
    {"ports", "[ports]", &CMachineParser::_OpenPlain, &CMachineParser::_PortLine},
    {"smbus", "[smbus ADDRESS] from 00 to 7F", &CMachineParser::_OpenSmbus, &CMachineParser::_DumpLine},
    {"registry", "[registry]", &CMachineParser::_OpenPlain, &CMachineParser::_RegistryLine},
    {"wmi", "[wmi root\\cimv2 CLASS] or [wmi root\\wmi CLASS]", &CMachineParser::_OpenWmi, &CMachineParser::_KeyLine},
    {"firmware", "[firmware], or with object ID, item, command CODE or answer METHOD", &CMachineParser::_OpenFirmware,
     &CMachineParser::_KeyLine},
};

}  // namespace

bool g_ParseMachine(std::string_view sText, const std::string& sFile, CMachineDescription& rMachine,
                    std::string& rsError) {
    rMachine = {};
    rsError.clear();
    return CMachineParser(sText, sFile, rMachine, rsError).Parse();
}

}  // namespace vxtsim
