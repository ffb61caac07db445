// [acpi SIGNATURE]: an ACPI table. Several may have one signature.
#include <numeric>

#include "../machine_words.h"
#include "dump.h"
#include "inherit.h"

namespace vxtsim {

namespace {

constexpr size_t kChecksum = 9;  ///< of a table: the whole sums up to zero

class CAcpiSection final : public CDumpSection {
public:
    using CDumpSection::CDumpSection;

private:
    bool Line(CMachineReader& rReader, std::string_view sLine) override {
        if (sLine.find('=') == std::string_view::npos) return CDumpSection::Line(rReader, sLine);
        std::string_view sKey, sValue;
        (void)rReader.Split(CMachineReader::WithoutComment(sLine), sKey, sValue);
        m_bComplete = sKey == "checksum" && g_Trim(sValue) == "complete";
        return m_bComplete || rReader.Fail("dump lines or checksum = complete", sLine);
    }
    bool Close(CMachineReader& rReader) override {
        if (!m_bComplete) return true;
        if (m_rDump.size() <= kChecksum) return rReader.Fail("a table of at least 10 bytes", "fewer");
        m_rDump[kChecksum] = 0;
        m_rDump[kChecksum] = static_cast<uint8_t>(-std::accumulate(m_rDump.begin(), m_rDump.end(), 0u));
        return true;
    }

    bool m_bComplete = false;
};

std::vector<std::string_view> g_Keys() { return {"checksum"}; }

std::unique_ptr<CSection> g_Open(CMachineReader& rReader, std::string_view sArgument) {
    constexpr std::string_view kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_";
    if (sArgument.size() != 4 || sArgument.find_first_not_of(kLetters) != std::string_view::npos) return nullptr;
    auto& rTables = rReader.Machine().Acpi;
    rTables.emplace_back(sArgument, std::vector<uint8_t>());
    return std::make_unique<CAcpiSection>(rTables.back().second, CMachineReader::kMaximumRegion);
}

void g_Write(CMachineWriter& rWriter, const CMachineDescription& rMachine) {
    for (const auto& [sSignature, rData] : rMachine.Acpi) {
        rWriter.Heading("acpi " + sSignature);
        rWriter.Dump(rData);
    }
}

void g_Inherit(CMachineDescription& rMachine, const CMachineDescription& rBase) {
    g_InheritElements(rMachine.Acpi, rBase.Acpi, [](const auto& rTable) { return rTable.first; });
}

bool g_Forget(CMachineDescription& rMachine, std::string_view sArgument) {
    if (sArgument.empty()) return g_ForgetAll<&CMachineDescription::Acpi>(rMachine, sArgument);
    return std::erase_if(rMachine.Acpi, [&](const auto& rTable) { return rTable.first == sArgument; }) != 0;
}

}  // namespace

const CSectionKind kAcpiSection = {
    "acpi",
    "[acpi SIGNATURE] of four letters or digits",
    "An ACPI table; the tables lie in memory in file order.",
    g_Keys,
    g_Open,
    g_Write,
    g_Inherit,
    g_Forget,
};

}  // namespace vxtsim
