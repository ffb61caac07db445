// Writing machine files.
#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <optional>

#include "machine_file.h"
#include "machine_words.h"

namespace vxtsim {

namespace {

constexpr size_t kDumpLine = 16;

/// "a b c" with `Format(element)` for each.
template <class TElements, class TFormat>
std::string g_Joined(const TElements& rElements, char cBetween, TFormat Format) {
    std::string sText;
    for (const auto& rElement : rElements) {
        if (&rElement != rElements.data()) sText += cBetween;
        sText += Format(rElement);
    }
    return sText;
}
constexpr auto kAsNumber = [](auto Value) { return std::to_string(Value); };
constexpr auto kAsText = [](const std::string& rsText) { return rsText; };
template <int nDigits> std::string g_AsHex(uint32_t uValue) {
    char szText[16];
    std::snprintf(szText, sizeof(szText), "%0*X", nDigits, uValue);
    return szText;
}

std::string g_FormatValue(const std::optional<CWmiValue>& rValue) {
    if (!rValue) return std::string(kMissing);
    for (const CPlainValue& rPlain : kPlainValues)
        if (rPlain.Value() == *rValue) return std::string(rPlain.sWord);
    switch (rValue->usType) {
        case CWmiValue::kInteger:
            return "number:" + std::to_string(rValue->nNumber);
        case CWmiValue::kText:
            return "text:" + rValue->sText;
        case CWmiValue::kBoolean:
            return rValue->nNumber ? "bool:1" : "bool:0";
        case CWmiValue::kIntegers:
            return "numbers:" + g_Joined(rValue->Integers, ' ', kAsNumber);
        case CWmiValue::kBytes:
            return "bytes:" + g_Joined(rValue->Bytes, ' ', g_AsHex<2>);
        case CWmiValue::kTexts:
            return "texts:" + g_Joined(rValue->Texts, '|', kAsText);
        default:
            return "other:" + std::to_string(rValue->usType);
    }
}

/// Builds the text form.
class CMachineWriter {
public:
    __attribute__((format(printf, 2, 3))) void Print(const char* pszFormat, ...) {
        char szText[128];
        va_list Arguments;
        va_start(Arguments, pszFormat);
        std::vsnprintf(szText, sizeof(szText), pszFormat, Arguments);
        va_end(Arguments);
        m_sText += szText;
    }

    /// Text that the parser reads to the end of its line.
    void Line(const std::string& sKey, const std::string& sText) {
        const size_t uBegin = m_sText.size();
        m_sText += sKey + " = " + sText;
        std::replace_if(
            m_sText.begin() + static_cast<ptrdiff_t>(uBegin), m_sText.end(), [](char c) { return c == '\n'; }, ' ');
        m_sText += '\n';
    }

    /// Lines of zeros are left out, except the last: it tells the size.
    void Dump(const std::vector<uint8_t>& rData) {
        for (size_t uLine = 0; uLine < rData.size(); uLine += kDumpLine) {
            const auto itBegin = rData.begin() + static_cast<ptrdiff_t>(uLine);
            const auto itEnd = rData.begin() + static_cast<ptrdiff_t>(std::min(uLine + kDumpLine, rData.size()));
            if (itEnd != rData.end() && std::all_of(itBegin, itEnd, [](uint8_t c) { return c == 0; })) continue;
            Print("%02X:", static_cast<uint32_t>(uLine));
            std::for_each(itBegin, itEnd, [this](uint8_t c) { Print(" %02X", c); });
            m_sText += '\n';
        }
    }

    void Firmware(const CFirmwareDescription& rFirmware) {
        m_sText += "\n[firmware]\n";
        Line("version", std::to_string(rFirmware.nVersion));
        Line("commands", g_Joined(rFirmware.Commands, ' ', g_AsHex<8>));
        Line("vendor", rFirmware.sVendor);
        Line("graphics", g_AsHex<2>(rFirmware.ucGraphics) + " " + g_AsHex<2>(rFirmware.ucGraphicsPresent));
        Flag("static_methods", rFirmware.bStaticMethods);
        for (const CFirmwareObject& rObject : rFirmware.Objects) {
            m_sText += "\n[firmware object " + g_AsHex<8>(rObject.uId) + "]\n";
            Line("name", rObject.sName);
            if (rObject.uProperty) Line("property", std::to_string(rObject.uProperty));
            Line("value", std::to_string(rObject.nValue));
            if (!rObject.Values.empty()) Line("values", g_Joined(rObject.Values, ' ', kAsNumber));
            if (!rObject.Info.empty()) Line("info", g_Joined(rObject.Info, ' ', kAsNumber));
            if (rObject.nStatus) Line("status", std::to_string(rObject.nStatus));
            Flag("stuck", rObject.bStuck);
        }
        for (const CFirmwareItem& rItem : rFirmware.Items) {
            m_sText += "\n[firmware item]\n";
            Line("name", rItem.sName);
            Line("value", std::to_string(rItem.usValue));
            if (!rItem.Options.empty()) Line("options", g_Joined(rItem.Options, '|', kAsText));
        }
        for (const auto& [uCode, Result] : rFirmware.Results) {
            m_sText += "\n[firmware command " + g_AsHex<8>(uCode) + "]\n";
            Line("result", g_Joined(Result, ' ', g_AsHex<2>));
        }
        for (const auto& [sMethod, rAnswer] : rFirmware.Answers) {
            m_sText += "\n[firmware answer " + sMethod + "]\n";
            for (const auto& [sName, rValue] : rAnswer.Properties) Line(sName, g_FormatValue(rValue));
            Flag("fails", rAnswer.bFails);
            if (rAnswer.uMilliseconds) Line("delay", std::to_string(rAnswer.uMilliseconds));
        }
    }
    void Flag(const char* pszKey, bool bFlag) {
        if (bFlag) Line(pszKey, "1");
    }

    std::string m_sText;
};

}  // namespace

std::string g_FormatMachine(const CMachineDescription& rMachine) {
    CMachineWriter Writer;
    const uint64_t ullClock = static_cast<uint64_t>(std::llround(rMachine.dReferenceMHz * kMillion));
    Writer.Print("[machine]\n");
    Writer.Line("name", rMachine.sName);
    Writer.Print("cores = %u\nreference_clock = %u.%06u\n", rMachine.uCores, static_cast<uint32_t>(ullClock / kMillion),
                 static_cast<uint32_t>(ullClock % kMillion));
    if (!rMachine.Cpuid.empty()) Writer.Print("\n[cpuid]\n");
    for (const auto& [Leaf, rResult] : rMachine.Cpuid) {
        Writer.Print("%08X", Leaf.first);
        if (Leaf.second) Writer.Print(".%X", Leaf.second);
        Writer.Print(" = %08X %08X %08X %08X\n", rResult.uEax, rResult.uEbx, rResult.uEcx, rResult.uEdx);
    }
    std::optional<uint32_t> Core;
    for (const auto& [Key, ullValue] : rMachine.Msr) {
        if (Core != Key.first)
            Key.first == kAllCores ? Writer.Print("\n[msr]\n") : Writer.Print("\n[msr core %u]\n", Key.first);
        Core = Key.first;
        Writer.Print("%08X = %08X%08X\n", Key.second, static_cast<uint32_t>(ullValue >> 32),
                     static_cast<uint32_t>(ullValue));
    }
    for (const auto& [Address, rData] : rMachine.Pci) {
        Writer.Print("\n[pci %02X:%02X.%X]\n", Address.ucBus, Address.ucDevice, Address.ucFunction);
        Writer.Dump(rData);
    }
    for (const auto& [ullAddress, rData] : rMachine.Memory) {
        Writer.Print("\n[memory %X%08X]\n", static_cast<uint32_t>(ullAddress >> 32), static_cast<uint32_t>(ullAddress));
        Writer.Dump(rData);
    }
    for (const auto& [sSignature, rData] : rMachine.Acpi) {
        Writer.Print("\n[acpi %s]\n", sSignature.c_str());
        Writer.Dump(rData);
    }
    if (!rMachine.DramData.empty()) Writer.Print("\n[dram_data]\n");
    for (const auto& [Key, uValue] : rMachine.DramData) Writer.Print("%X.%02X = %08X\n", Key.first, Key.second, uValue);
    if (!rMachine.Ports.empty()) Writer.Print("\n[ports]\n");
    for (const auto& [usPort, ucValue] : rMachine.Ports) Writer.Print("%04X = %02X\n", usPort, ucValue);
    for (const auto& [ucAddress, rData] : rMachine.Smbus) {
        Writer.Print("\n[smbus %02X]\n", ucAddress);
        Writer.Dump(rData);
    }
    if (!rMachine.Registry.empty()) Writer.Print("\n[registry]\n");
    for (const auto& [sName, sText] : rMachine.Registry) Writer.Line(sName, sText);
    for (const auto& [sNamespace, sClass, Properties] : rMachine.Wmi) {
        Writer.m_sText.append("\n[wmi ").append(sNamespace).append(" ").append(sClass).append("]\n");
        for (const auto& [sName, rValue] : Properties) Writer.Line(sName, g_FormatValue(rValue));
    }
    if (rMachine.Firmware) Writer.Firmware(*rMachine.Firmware);
    return Writer.m_sText;
}

}  // namespace vxtsim
