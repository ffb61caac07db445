// What IDENTIFY data say, on images of disks and of changes to them.
#include "devices/peripherals/ata_identify.h"

#include <numeric>

#include "devices/peripherals/image_cases.h"

namespace {

using namespace vxt;

std::string g_Modes(const CAtaModes& rModes) {
    std::string sText;
    for (int i = 0; i < 8; ++i)
        if (rModes.ucSupported >> i & 1) sText += std::to_string(i);
    return rModes.oSelected ? sText + ":" + std::to_string(*rModes.oSelected) : sText;
}

vxttest::CTokens g_Describe(std::span<const uint8_t> Image) {
    static constexpr const char* kVerdicts[] = {"cut", "blank", "wrong sum", "incomplete", "unsigned", "right"};
    static constexpr const char* kKinds[] = {"unknown", "ata", "atapi", "compact flash"};
    const CAtaIdentity Disk = g_DecodeAtaIdentity(Image);
    vxttest::CTokenList Tokens;
    Tokens.Add("verdict", kVerdicts[static_cast<size_t>(Disk.eVerdict)]);
    Tokens.Add("kind", kKinds[static_cast<size_t>(Disk.eKind)]);
    if (Disk.bRemovable) Tokens.Add("removable", 1);
    for (const auto& [pszKey, sText] :
         {std::pair("model", Disk.Model.Get()), std::pair("serial", Disk.SerialNumber.Get()),
          std::pair("firmware", Disk.Firmware.Get())})
        if (!sText.empty()) Tokens.Add(pszKey, sText);
    if (const auto& rChs = Disk.oGeometry)
        Tokens.Add("chs", vxttest::g_Text(rChs->usCylinders, rChs->usHeads, rChs->usSectors));
    Tokens.Add("lba28", Disk.oSectors28);
    Tokens.Add("lba48", Disk.oSectors48);
    Tokens.Add("sectors", Disk.oSectors);
    Tokens.Add("bytes", Disk.oBytes);
    Tokens.Add("logical", Disk.oLogicalSectorBytes);
    Tokens.Add("physical", Disk.oPhysicalSectorBytes);
    Tokens.Add("buffer", Disk.oBufferBytes);
    Tokens.Add("solid", Disk.oSolidState);
    Tokens.Add("rate", Disk.oRotationRate);
    Tokens.Add("minor", Disk.oMinorCode);
    for (const auto& [pszKey, pszText] :
         {std::pair("form", Disk.pszFormFactor), std::pair("version", Disk.pszMajorVersion),
          std::pair("draft", Disk.pszMinorVersion)})
        if (pszText) Tokens.Add(pszKey, pszText);
    if (Disk.ucSataGenerations) Tokens.Add("sata", g_Modes({Disk.ucSataGenerations, Disk.oSataGeneration}));
    if (Disk.oPio) Tokens.Add("pio", g_Modes(*Disk.oPio));
    if (Disk.oMultiwordDma) Tokens.Add("mdma", g_Modes(*Disk.oMultiwordDma));
    if (Disk.oUltraDma) Tokens.Add("udma", g_Modes(*Disk.oUltraDma));
    Tokens.Add("queue", Disk.oQueueDepth);
    Tokens.Add("apm", Disk.oPowerLevel);
    Tokens.Add("aam", Disk.oAcousticLevel);
    Tokens.Add("wwn", Disk.oWorldWideName);
    if (const auto& rState = Disk.oSecurity)
        Tokens.Add("locks", vxttest::g_Text(rState->bEnabled, rState->bLocked, rState->bFrozen, rState->bCountExpired,
                                            rState->bEnhancedErase, rState->bMaximum));
    for (size_t i = 0; i < Disk.aFeatures.size(); ++i) {
        const auto& [oSupported, oEnabled] = Disk.aFeatures[i];
        if (!oSupported) continue;
        Tokens.Add(g_GetAtaFeatureName(static_cast<EAtaFeature>(i)), oEnabled      ? (*oEnabled ? "on" : "off")
                                                                     : *oSupported ? "yes"
                                                                                   : "no");
    }
    return Tokens.Get();
}

/// The sum of a signed image, unless the row has it.
void g_Complete(vxttest::CImage& rImage, const std::map<uint32_t, uint64_t>& rChanges) {
    if (rImage.size() < 512 || rImage[510] != 0xA5 || rChanges.contains(255)) return;
    rImage[511] = static_cast<uint8_t>(-std::accumulate(rImage.begin(), rImage.begin() + 511, 0));
}

TEST(AtaIdentify, TellsWhatADiskTellsAndNothingElse) {
    const vxttest::CWitness Decoder{
        "hdparm",
        "head -c 512 | od -An -v -tx2 | hdparm --Istdin",
        {"model=Model Number: *([ -~]+?) *\n", "serial=Serial Number: *([ -~]+?) *\n",
         "firmware=Firmware Revision: *([ -~]+?) *\n", "lba28=LBA    user addressable sectors: *(.*)",
         "lba48=LBA48  user addressable sectors: *(.*)", "logical=Logical  Sector size: *(.*) bytes",
         "physical=Physical Sector size: *(.*) bytes", "rate=Nominal Media Rotation Rate: (.*)",
         "form=Form Factor: (.*)", "queue=Queue depth: (.*)"}};
    vxttest::g_CheckImages("identify_disks.txt", 2, g_Complete, g_Describe, Decoder);
}

TEST(AtaIdentify, ABusWithoutADiskAnswersAllOnes) {
    EXPECT_EQ(g_Describe(vxttest::CImage(512, 0xFF)), (vxttest::CTokens{"kind=unknown", "verdict=blank"}));
}

}  // namespace
