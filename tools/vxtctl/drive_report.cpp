#include "drive_report.h"

#include <algorithm>
#include <bit>

#include "common/facts.h"
#include "common/text.h"
#include "device_types.h"
#include "told.h"

namespace vxtctl {

using vxtapi::CStorageDevice;
using vxtapi::StorageDeviceFeature;
using vxtapi::StorageDeviceInfo;
using vxttools::CDocument;
using vxttools::CFacts;
using vxttools::CJson;
using vxttools::CTextTable;
using vxttools::g_Trimmed;
using vxttools::g_Utf8;

namespace {

constexpr double kGigabyte = 1e9;  ///< as drives are sold

/// By eIdentifyVerdict.
struct CVerdictRow {
    const char* pszWord;
    const char* pszText;
    bool bIsFinding;
};
constexpr CVerdictRow kVerdicts[] = {
    {"right", "the checksum is right", false},
    {"unsigned", "they have no checksum, as those of old drives", false},
    {"incomplete", "incomplete: the drive has to spin up before it knows everything", false},
    {"wrong_checksum", "the checksum is WRONG", true},
    {"blank", "all bytes are the same", true},
    {"cut", "they were cut short", true},
    {"none", "the drive gave none: no rights, or no ATA drive; the system tells the rest", false},
};

/// STORAGE_BUS_TYPE by its numbers.
constexpr const char* kBuses[] = {"",
                                  "SCSI",
                                  "ATAPI",
                                  "ATA",
                                  "IEEE 1394",
                                  "SSA",
                                  "Fibre Channel",
                                  "USB",
                                  "RAID",
                                  "iSCSI",
                                  "SAS",
                                  "SATA",
                                  "SD",
                                  "MMC",
                                  "virtual",
                                  "file-backed virtual",
                                  "storage spaces",
                                  "NVMe"};

/// Line rates by generation.
constexpr const char* kSataRates[] = {"", "1.5 Gbit/s", "3 Gbit/s", "6 Gbit/s"};

std::string g_SataText(uint32_t uGeneration) {
    return std::to_string(uGeneration) +
           (uGeneration < std::size(kSataRates) ? " (" + std::string(kSataRates[uGeneration]) + ")" : "");
}

std::vector<uint32_t> g_Bits(uint32_t uMask) {
    std::vector<uint32_t> Bits;
    for (; uMask; uMask &= uMask - 1) Bits.push_back(static_cast<uint32_t>(std::countr_zero(uMask)));
    return Bits;
}

CJson g_Mode(int32_t nMode) { return nMode < 0 ? CJson() : CJson(nMode); }

/// "/hard-disk/0/feature/power_management"
std::string g_FeatureId(const std::string& sPath, const char* pszName) {
    std::string sWord = vxttools::g_Lower(pszName);
    for (char& rc : sWord)
        if (!(rc >= 'a' && rc <= 'z') && !(rc >= '0' && rc <= '9')) rc = '_';
    return sPath + "/feature/" + sWord;
}

CJson g_Features(CStorageDevice& rDrive, const std::string& sPath) {
    CJson Features = CJson::Array();
    StorageDeviceFeature Feature{};
    for (uint32_t i = 0; i < rDrive.GetFeatureCount() && rDrive.GetFeature(i, &Feature); ++i)
        Features.Push({{"id", g_FeatureId(sPath, Feature.pszName)},
                       {"name", Feature.pszName},
                       {"supported", g_Told(Feature.bSupported)},
                       {"enabled", g_Told(Feature.bEnabled)}});
    return Features;
}

/// A row with the names of the supported features that are in this state; none where there are none. Names have commas.
void g_AddFeatureRow(CTextTable& rTable, const CJson& rFeatures, const char* pszLabel, const CJson& rEnabled) {
    std::string sNames;
    for (const CJson& rFeature : rFeatures.Items())
        if (rFeature["supported"] == CJson(true) && rFeature["enabled"] == rEnabled)
            sNames += (sNames.empty() ? "" : "; ") + rFeature["name"].Text();
    if (!sNames.empty()) rTable.Rows.push_back({pszLabel, sNames});
}

/// What is told, but may not be so.
std::vector<std::string> g_Doubts(const StorageDeviceInfo& rInfo) {
    if (!rInfo.bDoubtful) return {};
    return {"all of them: its name is no text, they may be no IDENTIFY data"};
}

void g_AddTransfer(CFacts& rFacts, const StorageDeviceInfo& rInfo) {
    rFacts.Add("sata_generations", "SATA generations", g_Bits(rInfo.uSataGenerations));
    rFacts.AddNumber("sata_generation", "SATA generation in use", rInfo.uSataGeneration, "",
                     g_SataText(rInfo.uSataGeneration));
    rFacts.Add("pio_modes", "PIO modes", g_Bits(rInfo.uPioModes));
    rFacts.Add("multiword_dma_modes", "Multiword DMA modes", g_Bits(rInfo.uMultiwordDmaModes));
    rFacts.Add("multiword_dma_mode", "Multiword DMA mode in use", g_Mode(rInfo.nMultiwordDmaMode));
    rFacts.Add("ultra_dma_modes", "Ultra DMA modes", g_Bits(rInfo.uUltraDmaModes));
    rFacts.Add("ultra_dma_mode", "Ultra DMA mode in use", g_Mode(rInfo.nUltraDmaMode));
    rFacts.AddNumber("queue_depth", "Queue", rInfo.uQueueDepth, "commands");
}

CFacts g_Facts(CStorageDevice& rDrive, const StorageDeviceInfo& rInfo, bool bSerials) {
    const auto Size = [](uint64_t ull) { return ull ? CJson(static_cast<int64_t>(ull)) : CJson(); };
    const double dGigabytes = static_cast<double>(rInfo.ullBytes) / kGigabyte;
    CFacts Facts(bSerials);
    Facts.Add("model", "Model", g_Utf8(rDrive.GetModel()));
    Facts.AddSerial("serial_number", "Serial number", g_Utf8(rDrive.GetSerialNumber()));
    Facts.Add("firmware", "Firmware", g_Utf8(rDrive.GetFirmware()));
    Facts.AddNumber("capacity", "Capacity", dGigabytes, "GB", g_Trimmed(dGigabytes, 1) + " GB");
    Facts.Add("bytes", "Bytes", Size(rInfo.ullBytes), "bytes");
    Facts.Add("sectors", "Sectors", Size(rInfo.ullSectors));
    Facts.AddNumber("logical_sector", "Logical sector", rInfo.uLogicalSectorBytes, "bytes");
    Facts.AddNumber("physical_sector", "Physical sector", rInfo.uPhysicalSectorBytes, "bytes");
    Facts.AddNumber("buffer", "Buffer", rInfo.uBufferBytes / 1024.0, "KB");
    Facts.Add("bus", "Bus", rInfo.uBus < std::size(kBuses) ? kBuses[rInfo.uBus] : "");
    Facts.Add("solid_state", "Solid state", g_Told(rInfo.bSolidState));
    Facts.AddNumber("rotation_rate", "Rotation", rInfo.uRotationRate, "RPM");
    Facts.Add("form_factor", "Form factor", g_Utf8(rDrive.GetFormFactor()));
    Facts.Add("removable", "Removable medium", rInfo.bRemovable != 0);
    Facts.Add("standard", "Standard", g_Utf8(rDrive.GetStandard()));
    g_AddTransfer(Facts, rInfo);
    Facts.Add("security_enabled", "Password set", g_Told(rInfo.bSecurityEnabled));
    Facts.Add("security_locked", "Locked", g_Told(rInfo.bSecurityLocked));
    Facts.Add("security_frozen", "Security settings frozen", g_Told(rInfo.bSecurityFrozen));
    Facts.AddSerial("world_wide_name", "World wide name",
                    rInfo.ullWorldWideName ? CJson(vxttools::g_Hex(rInfo.ullWorldWideName, 16)) : CJson());
    Facts.Add("path", "Path", g_Utf8(rDrive.GetPath()));
    return Facts;
}

}  // namespace

void g_AddDrives(CDocument& rDocument, const CHostLibrary& rLibrary, vxttools::CFindings& rFindings, bool bSerials) {
    CJson& rDrives = rDocument["drives"] = CJson::Array();
    for (const vxtapi::eDeviceType eType : {vxtapi::kDeviceHardDisk, vxtapi::kDeviceCdRom}) {
        for (const CInventoryEntry& rEntry : rLibrary.Devices(eType)) {
            auto& rDrive = *static_cast<CStorageDevice*>(rEntry.pDevice);
            const std::string sPath = g_DevicePath(rEntry.eType, rEntry.uIndex);
            StorageDeviceInfo Info{};
            if (!rDrive.GetStorageInfo(&Info)) Info.uVerdict = vxtapi::kIdentifyNone;
            const CVerdictRow& rVerdict = kVerdicts[std::min<size_t>(Info.uVerdict, std::size(kVerdicts) - 1)];
            if (rVerdict.bIsFinding) rFindings.push_back(sPath + ": its IDENTIFY data: " + rVerdict.pszText);

            const CFacts Facts = g_Facts(rDrive, Info, bSerials);
            CJson Drive{
                {"id", sPath}, {"index", rEntry.uIndex}, {"verdict", rVerdict.pszWord}, {"doubts", g_Doubts(Info)}};
            Facts.AddTo(Drive);
            Drive["features"] = g_Features(rDrive, sPath);
            CTextTable Table = Facts.Table(sPath.substr(1));
            Table.Rows.insert(Table.Rows.begin(), {"  IDENTIFY data", rVerdict.pszText});
            for (const CJson& rDoubt : Drive["doubts"].Items()) {
                rFindings.push_back(sPath + ": its IDENTIFY data: doubtful are " + rDoubt.Text());
                Table.Rows.push_back({"  Doubtful", rDoubt.Text()});
            }
            g_AddFeatureRow(Table, Drive["features"], "  Features, enabled", true);
            g_AddFeatureRow(Table, Drive["features"], "  Not enabled", false);
            g_AddFeatureRow(Table, Drive["features"], "  On or off not told", nullptr);
            rDrives.Push(std::move(Drive));
            rDocument.AddTable(std::move(Table));
        }
    }
}

}  // namespace vxtctl
