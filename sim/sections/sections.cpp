#include "../machine_words.h"
#include "section.h"

namespace vxtsim {

namespace {

constexpr const CSectionKind* kKinds[] = {
    &kMachineSection,
    &kCpuidSection,
    &kMsrSection,
    &kPciSection,
    &kMemorySection,
    &kAcpiSection,
    &kDramDataSection,
    &kPortsSection,
    &kSmbusSection,
    &kRegistrySection,
    &kWmiSection,
    &kFirmwareSection,
    &kFirmwareObjectSection,
    &kFirmwareItemSection,
    &kFirmwareCommandSection,
    &kFirmwareAnswerSection,
};

}  // namespace

std::span<const CSectionKind* const> g_SectionKinds() { return kKinds; }

const CSectionKind* g_FindSectionKind(std::string_view& rsHeading) {
    const CSectionKind* pFound = nullptr;
    const std::string_view sHeading = g_Trim(rsHeading);
    for (const CSectionKind* const pKind : kKinds) {  // "firmware item" comes after "firmware"
        const std::string_view sRest = sHeading.substr(std::min(pKind->sName.size(), sHeading.size()));
        if (!sHeading.starts_with(pKind->sName) || g_TrimLeft(sRest).size() + !sRest.empty() > sRest.size()) continue;
        pFound = pKind, rsHeading = g_TrimLeft(sRest);
    }
    return pFound;
}

std::string g_FormatMachine(const CMachineDescription& rMachine) {
    CMachineWriter Writer;
    for (const CSectionKind* const pKind : kKinds) pKind->pWrite(Writer, rMachine);
    return std::move(Writer.m_sText);
}

}  // namespace vxtsim
