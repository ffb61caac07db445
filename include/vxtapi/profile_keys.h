// The names under which profiles keep their settings. A setting's section is the one below, or for clock generator, voltage
// controllers, graphics and memory the device's type text; its element is the device's name.
#pragma once

#include <stddef.h>
#include <vxtapi/memory_controller.h>

namespace vxtapi {

/// A character of a name as element names have it.
constexpr wchar_t ProfileCharacter(wchar_t c) {
    return c == L' ' || c == L'(' || c == L')' || c == L'/' || c == L'+' ? L'_' : c;
}

inline constexpr const wchar_t* kProfileCpuSection = L"CPU";
/// Of every core: switches, on when 1. A profile that has one of them switches the other off unless it has it, too.
inline constexpr const wchar_t *kProfileClockDivisor = L"ClockDivisor", *kProfileTlbCaching = L"TLBCaching";
/// Multipliers of cores 0 to 3.
inline constexpr const wchar_t* kProfileMultipliers[] = {L"Multiplier", L"Multiplier2", L"Multiplier3", L"Multiplier4"};
/// V, kept for core 0 and written to cores 0 to 3; 0: as it is.
inline constexpr const wchar_t *kProfileCpuVoltage = L"CPUVID", *kProfileNbVoltage = L"NBVID";

inline constexpr const wchar_t* kProfileLinkSection = L"HTLink";
/// HTConfig::dFrequency of link 0.
inline constexpr const wchar_t* kProfileLinkMultiplier = L"Multiplier";

/// Clock generator, MHz: external and PCIe clock.
inline constexpr const wchar_t *kProfileExternalClock = L"HTRefClock", *kProfilePCIeClock = L"PCIeClock";
/// Integrated graphics, MHz.
inline constexpr const wchar_t* kProfileEngineClock = L"IGPClock";
/// Voltage controller (type 11), V: the names of its voltages, in the order in which they are written. Those of the
/// board's own (type 12) are what that device lists.
inline constexpr const wchar_t* kProfileVoltages[] = {L"MemVDDQ",   L"MemVTT",    L"CPUVDDC",
                                                      L"NBCoreVol", L"NBPCIEVol", L"CNBHTVol"};

/// A key and its place in a record: a double, or a flag of one byte (0 or not).
struct ProfileField {
    const wchar_t* pszKey;
    size_t uOffset;
    bool bIsFlag = false;
};

// clang-format off
/// MemTiming, in the order in which they are put into the record.
inline constexpr ProfileField kProfileTimings[] = {
    {L"CAS Latency", offsetof(MemTiming, dTcl)},
    {L"Row Cycle Time", offsetof(MemTiming, dTrc)},
    {L"Row Refresh Cycle Time 0", offsetof(MemTiming, dTrfc0)},
    {L"Row Refresh Cycle Time 1", offsetof(MemTiming, dTrfc1)},
    {L"Row Refresh Cycle Time 2", offsetof(MemTiming, dTrfc2)},
    {L"Row Refresh Cycle Time 3", offsetof(MemTiming, dTrfc3)},
    {L"RAS to CAS Delay", offsetof(MemTiming, dTrcd)},
    {L"RAS-to-RAS Delay", offsetof(MemTiming, dTrrd)},
    {L"RAS Active Time", offsetof(MemTiming, dTras)},
    {L"Row Precharge Time", offsetof(MemTiming, dTrp)},
    {L"Write Recovery Time", offsetof(MemTiming, dTwr)},
    {L"Write-to-Read Delay", offsetof(MemTiming, dTwtr)},
    {L"Refresh Rate", offsetof(MemTiming, dTref)},
    {L"Read CAS to Precharge Time", offsetof(MemTiming, dTrtp)},
    {L"R-to-W DQS Cont.", offsetof(MemTiming, dTrwtTO)},
    {L"W to R DIMM Term.", offsetof(MemTiming, dTwrrd)},
    {L"Write to Write Timing", offsetof(MemTiming, dTwrwr)},
    {L"Read to Read Timing", offsetof(MemTiming, dTrdrd)},
    {L"Write CAS Latency", offsetof(MemTiming, dTwcl)},
    {L"Write-to-Read Delay", offsetof(MemTiming, dTrwt)},  // kept: the key of dTwtr once more
    {L"R-to-W Turnaround for Write Bursting", offsetof(MemTiming, dTrwtWB)},
};
/// MemConfig, likewise.
inline constexpr ProfileField kProfileConfiguration[] = {
    {L"Slow Access Mode", offsetof(MemConfig, bSlowAccessMode), true},
    {L"DRAM Drivers Weak Mode", offsetof(MemConfig, bWeakDrivers), true},
    {L"Memory Clock", offsetof(MemConfig, dMemoryClock)},
    {L"MaxAsyncLat", offsetof(MemConfig, dMaxAsyncLat)},
    {L"DRAM Termination", offsetof(MemConfig, dDramTermination)},
    {L"Power Down Mode Enable", offsetof(MemConfig, bPowerDownEnable), true},
    {L"DCC Enable", offsetof(MemConfig, bDccEnable), true},
    {L"Four Bank Act Window", offsetof(MemConfig, dFourBankActWindow)},
    {L"Idle Cycle Limit", offsetof(MemConfig, dIdleCycleLimit)},
    {L"DcqBypassMax", offsetof(MemConfig, dDcqBypassMax)},
    {L"Read Preamble", offsetof(MemConfig, dReadPreamble)},
    {L"CKE Drive Strength A", offsetof(MemConfig, adCkeDrive)},
    {L"CS ODT Drive Strength A", offsetof(MemConfig, adCsOdtDrive)},
    {L"Address Command Drive Strength A", offsetof(MemConfig, adAddrCmdDrive)},
    {L"Clock Drive Strength A", offsetof(MemConfig, adClockDrive)},
    {L"Data Drive Strength A", offsetof(MemConfig, adDataDrive)},
    {L"DQS Drive Strength A", offsetof(MemConfig, adDqsDrive)},
    {L"Processor On-die Termination A", offsetof(MemConfig, adProcOdt)},
    {L"CKE Drive Strength B", offsetof(MemConfig, adCkeDrive) + sizeof(double)},
    {L"CS ODT Drive Strength B", offsetof(MemConfig, adCsOdtDrive) + sizeof(double)},
    {L"Address Command Drive Strength B", offsetof(MemConfig, adAddrCmdDrive) + sizeof(double)},
    {L"Clock Drive Strength B", offsetof(MemConfig, adClockDrive) + sizeof(double)},
    {L"Data Drive Strength B", offsetof(MemConfig, adDataDrive) + sizeof(double)},
    {L"DQS Drive Strength B", offsetof(MemConfig, adDqsDrive) + sizeof(double)},
    {L"Processor On-die Termination B", offsetof(MemConfig, adProcOdt) + sizeof(double)},
    {L"DQS Receiver Enable Delay A1", offsetof(MemConfig, adDqsReceiverDelay) + 0 * sizeof(double)},
    {L"DQS Receiver Enable Delay A2", offsetof(MemConfig, adDqsReceiverDelay) + 1 * sizeof(double)},
    {L"DQS Receiver Enable Delay A3", offsetof(MemConfig, adDqsReceiverDelay) + 2 * sizeof(double)},
    {L"DQS Receiver Enable Delay A4", offsetof(MemConfig, adDqsReceiverDelay) + 3 * sizeof(double)},
    {L"DQS Receiver Enable Delay B1", offsetof(MemConfig, adDqsReceiverDelay) + 4 * sizeof(double)},
    {L"DQS Receiver Enable Delay B2", offsetof(MemConfig, adDqsReceiverDelay) + 5 * sizeof(double)},
    {L"DQS Receiver Enable Delay B3", offsetof(MemConfig, adDqsReceiverDelay) + 6 * sizeof(double)},
    {L"DQS Receiver Enable Delay B4", offsetof(MemConfig, adDqsReceiverDelay) + 7 * sizeof(double)},
};
// clang-format on

}  // namespace vxtapi
