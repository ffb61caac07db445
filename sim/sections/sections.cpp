#include "../machine_words.h"
#include "section.h"

namespace vxtsim {

namespace {

constexpr const CSectionKind* kKinds[] = {
    &kBeginSection,
    &kMachineSection,
    &kCpuidSection,
    &kMsrSection,
    &kPciSection,
    &kMemorySection,
    &kAcpiSection,
    &kDramDataSection,
    &kLinkPhySection,
    &kPortsSection,
    &kSmbusSection,
    &kIndexPortsSection,
    &kSuperIoSection,
    &kFanSection,
    &kDeviceSection,
    &kDisplaySection,
    &kRegistrySection,
    &kWmiSection,
    &kFirmwareSection,
    &kFirmwareObjectSection,
    &kFirmwareItemSection,
    &kFirmwareCommandSection,
    &kFirmwareAnswerSection,
    &kEndSection,
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

uint64_t g_Digest(CMachineDescription Machine) {
    Machine.sStateOf.clear(), Machine.ullStateDigest = 0;
    uint64_t ullDigest = 0xCBF29CE484222325;  // FNV-1a
    for (const char c : g_FormatMachine(Machine))
        ullDigest = (ullDigest ^ static_cast<unsigned char>(c)) * 0x100000001B3;
    return ullDigest ? ullDigest : 1;
}

}  // namespace vxtsim
