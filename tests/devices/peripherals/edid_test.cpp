// What EDIDs say, on images of monitors and of changes to them.
#include "devices/peripherals/edid.h"

#include <cmath>
#include <numeric>

#include "devices/peripherals/image_cases.h"

namespace {

using namespace vxt;

vxttest::CTokens g_Describe(std::span<const uint8_t> Image) {
    static constexpr const char* kVerdicts[] = {"short",     "blank", "no header",           "other version",
                                                "wrong sum", "cut",   "wrong extension sum", "right"};
    const CEdid Edid = g_DecodeEdid(Image);
    vxttest::CTokenList Tokens;
    Tokens.Add("verdict", kVerdicts[static_cast<size_t>(Edid.eVerdict)]);
    if (Edid.ucVersion) Tokens.Add("version", std::to_string(Edid.ucVersion) + "." + std::to_string(Edid.ucRevision));
    if (Edid.usProduct) Tokens.Add("product", Edid.usProduct);
    for (const auto& [pszKey, sText] : {std::pair("maker", Edid.Manufacturer.Get()), std::pair("name", Edid.Name.Get()),
                                        std::pair("text", Edid.SerialText.Get())})
        if (!sText.empty()) Tokens.Add(pszKey, sText);
    Tokens.Add("serial", Edid.oSerialNumber);
    Tokens.Add("week", Edid.oWeek);
    Tokens.Add(Edid.bModelYear ? "model year" : "year", Edid.oYear);
    Tokens.Add("input", Edid.bDigital ? "digital" : "analogue");
    Tokens.Add("bits", Edid.oBitsPerColour);
    if (Edid.pszInterface) Tokens.Add("interface", Edid.pszInterface);
    if (Edid.oWidthCm) Tokens.Add("cm", vxttest::g_Text(*Edid.oWidthCm, *Edid.oHeightCm));
    Tokens.Add("ratio", Edid.oAspectRatio);
    if (const auto& rLimits = Edid.oLimits)
        Tokens.Add("limits",
                   vxttest::g_Text(rLimits->usLowestRefresh, rLimits->usHighestRefresh, rLimits->usLowestLines,
                                   rLimits->usHighestLines, rLimits->oHighestPixelClock.value_or(0)));
    for (size_t i = 0; i < Edid.ucModes; ++i) {
        const CEdidMode& rMode = Edid.aModes[i];
        Tokens.Add("mode" + std::to_string(i),
                   vxttest::g_Text(rMode.usWidth, rMode.usHeight) + (rMode.bInterlaced ? "i " : " ") +
                       vxttest::g_Text(std::round(rMode.dRefresh * 1000) / 1000, rMode.uPixelClock) +
                       (rMode.oWidthMm ? " " + vxttest::g_Text(*rMode.oWidthMm, *rMode.oHeightMm) : ""));
    }
    if (Edid.bPreferred) Tokens.Add("preferred", 1);
    if (Edid.bBasicAudio) Tokens.Add("audio", 1);
    Tokens.Add("native", +Edid.ucNativeModes);
    Tokens.Add("blocks", vxttest::g_Text(Edid.ucExtensions, Edid.ucExtensionsThere));
    for (size_t i = 0; i < Edid.WrongSums.size(); ++i)
        if (Edid.WrongSums[i]) Tokens.Add("wrong", i);
    return Tokens.Get();
}

/// The sums of all whole blocks, but of those whose sum the row has.
void g_Complete(vxttest::CImage& rImage, const std::map<uint32_t, uint64_t>& rChanges) {
    for (size_t uSum = 127; uSum < rImage.size(); uSum += 128)
        if (const auto pBegin = rImage.begin() + (uSum - 127); !rChanges.contains(static_cast<uint32_t>(uSum)))
            rImage[uSum] = static_cast<uint8_t>(-std::accumulate(pBegin, pBegin + 127, 0));
}

TEST(Edid, TellsWhatAMonitorTellsAndNothingElse) {
    const vxttest::CWitness Decoder{
        "edid-decode",
        "edid-decode",
        {"version=Revision: (.*)", "maker=Manufacturer: (.*)", "product=Model: (.*)", "serial=Serial Number: ([0-9]+)",
         "week=Made in: week ([0-9]+)", "year=Made in: .*([0-9]{4})", "model_year=Model year: (.*)",
         "bits=Bits per primary color channel: (.*)", "interface=([^ ]+) interface",
         "name=Display Product Name: '([ -~]+?) *'", "text=Display Product Serial Number: '([ -~]+?) *'"}};
    vxttest::g_CheckImages("edid_monitors.txt", 1, g_Complete, g_Describe, Decoder);
}

// Some adapters put the header in front of whatever the bus answered.
TEST(Edid, ABusWithoutAMonitorAnswersAllOnes) {
    vxttest::CImage Image(128, 0xFF);
    EXPECT_TRUE(g_Describe(Image).contains("verdict=blank"));
    Image.front() = Image[7] = 0;
    EXPECT_TRUE(g_Describe(Image).contains("verdict=blank"));
}

}  // namespace
