// The SDK's records lie the same in memory for every compiler; a host and the library may come from different ones.
#include <stddef.h>
#include <vxtapi/vxtapi.h>

using namespace vxtapi;

#define LIES_AT(record, field, offset, size)                                                              \
    static_assert(offsetof(record, field) == offset && sizeof(record::field) == size, #record "::" #field \
                                                                                              " has "     \
                                                                                              "moved")

// A flag is a byte that hosts may put any number into: it must not become a bool, which holds 0 and 1 only.
#define FLAG_LIES_AT(record, field, offset) \
    LIES_AT(record, field, offset, 1);      \
    static_assert(decltype(record::field)(2) == 2, #record "::" #field " is no number")

static_assert(sizeof(CPstate) == 104 && alignof(CPstate) == 8, "twelve doubles and a flag");
LIES_AT(CPstate, dCpuFid, 0, 8);
LIES_AT(CPstate, dCpuDid, 8, 8);
LIES_AT(CPstate, dCpuVid, 16, 8);
LIES_AT(CPstate, dNbDid, 24, 8);
LIES_AT(CPstate, dNbVid, 32, 8);
LIES_AT(CPstate, dIddDiv, 40, 8);
LIES_AT(CPstate, dPstateEn, 48, 8);
LIES_AT(CPstate, dUnused, 56, 8);
LIES_AT(CPstate, dCoreFrequency, 64, 8);
LIES_AT(CPstate, dCoreVoltage, 72, 8);
LIES_AT(CPstate, dNbFrequency, 80, 8);
LIES_AT(CPstate, dNbVoltage, 88, 8);
FLAG_LIES_AT(CPstate, bPstateEn, 96);

static_assert(sizeof(MemTiming) == 168, "21 doubles");
LIES_AT(MemTiming, dTcl, 0, 8);
LIES_AT(MemTiming, dTrc, 8, 8);
LIES_AT(MemTiming, dTrfc0, 16, 8);
LIES_AT(MemTiming, dTrfc1, 24, 8);
LIES_AT(MemTiming, dTrfc2, 32, 8);
LIES_AT(MemTiming, dTrfc3, 40, 8);
LIES_AT(MemTiming, dTrcd, 48, 8);
LIES_AT(MemTiming, dTrrd, 56, 8);
LIES_AT(MemTiming, dTras, 64, 8);
LIES_AT(MemTiming, dTrp, 72, 8);
LIES_AT(MemTiming, dTwr, 80, 8);
LIES_AT(MemTiming, dTwtr, 88, 8);
LIES_AT(MemTiming, dTrwt, 96, 8);
LIES_AT(MemTiming, dTref, 104, 8);
LIES_AT(MemTiming, dTwcl, 112, 8);
LIES_AT(MemTiming, dTrtp, 120, 8);
LIES_AT(MemTiming, dTrwtTO, 128, 8);
LIES_AT(MemTiming, dTwrrd, 136, 8);
LIES_AT(MemTiming, dTwrwr, 144, 8);
LIES_AT(MemTiming, dTrdrd, 152, 8);
LIES_AT(MemTiming, dTrwtWB, 160, 8);

static_assert(sizeof(MemConfig) == 248, "31 slots of eight bytes");
FLAG_LIES_AT(MemConfig, bGanged, 0);
FLAG_LIES_AT(MemConfig, bBothChannels, 1);
FLAG_LIES_AT(MemConfig, bSlowAccessMode, 2);
FLAG_LIES_AT(MemConfig, bWeakDrivers, 3);
LIES_AT(MemConfig, dMemoryClock, 8, 8);
LIES_AT(MemConfig, dMaxAsyncLat, 16, 8);
LIES_AT(MemConfig, dDramTermination, 24, 8);
FLAG_LIES_AT(MemConfig, bDccEnable, 32);
FLAG_LIES_AT(MemConfig, bPowerDownEnable, 33);
FLAG_LIES_AT(MemConfig, bApply, 34);
LIES_AT(MemConfig, dFourBankActWindow, 40, 8);
LIES_AT(MemConfig, dDcqBypassMax, 48, 8);
LIES_AT(MemConfig, dIdleCycleLimit, 56, 8);
LIES_AT(MemConfig, dReadPreamble, 64, 8);
LIES_AT(MemConfig, adCkeDrive, 72, 16);
LIES_AT(MemConfig, adCsOdtDrive, 88, 16);
LIES_AT(MemConfig, adAddrCmdDrive, 104, 16);
LIES_AT(MemConfig, adClockDrive, 120, 16);
LIES_AT(MemConfig, adDataDrive, 136, 16);
LIES_AT(MemConfig, adDqsDrive, 152, 16);
LIES_AT(MemConfig, adProcOdt, 168, 16);
LIES_AT(MemConfig, adDqsReceiverDelay, 184, 64);

static_assert(sizeof(HTConfig) == 104 && alignof(HTConfig) == 8, "natural alignment");
LIES_AT(HTConfig, abControl, 0, 12);
static_assert(static_cast<uint8_t (HTConfig::*)[12]>(&HTConfig::abControl) != nullptr, "flags are numbers");
LIES_AT(HTConfig, dMaxInWidth, 16, 8);
FLAG_LIES_AT(HTConfig, bMaxInFlowControl, 24);
LIES_AT(HTConfig, dMaxOutWidth, 32, 8);
FLAG_LIES_AT(HTConfig, bMaxOutFlowControl, 40);
LIES_AT(HTConfig, dInWidth, 48, 8);
FLAG_LIES_AT(HTConfig, bInFlowControl, 56);
LIES_AT(HTConfig, dOutWidth, 64, 8);
FLAG_LIES_AT(HTConfig, bOutFlowControl, 72);
LIES_AT(HTConfig, uRevisionMinor, 76, 4);
LIES_AT(HTConfig, uRevisionMajor, 80, 4);
LIES_AT(HTConfig, dFrequency, 88, 8);
LIES_AT(HTConfig, dMaxFrequency, 96, 8);

static_assert(sizeof(eDeviceType) == 4 && eDeviceType(0) < eDeviceType(-1), "unsigned, 32 bits");
static_assert(sizeof(bool) == 1 && sizeof(wchar_t) == VXT_WCHAR_SIZE, "as the library's");

static_assert(sizeof(FirmwareLimits) == 32, "four doubles");
LIES_AT(FirmwareLimits, dMinimum, 0, 8);
LIES_AT(FirmwareLimits, dMaximum, 8, 8);
LIES_AT(FirmwareLimits, dDefault, 16, 8);
LIES_AT(FirmwareLimits, dStep, 24, 8);

static_assert(sizeof(ProfileEntry) == 4 * sizeof(void*) + 16 && alignof(ProfileEntry) == 8,
              "texts, a number and a flag");
LIES_AT(ProfileEntry, pszSection, 0, sizeof(void*));
LIES_AT(ProfileEntry, pszText, 3 * sizeof(void*), sizeof(void*));
LIES_AT(ProfileEntry, dValue, 4 * sizeof(void*), 8);
FLAG_LIES_AT(ProfileEntry, bIsNumber, 4 * sizeof(void*) + 8);

static_assert(sizeof(TestError) == 96 && alignof(TestError) == 8,
              "a pointer, six numbers, five long ones, three doubles");
LIES_AT(TestError, pTestCase, 0, sizeof(void*));
LIES_AT(TestError, uCode, sizeof(void*), 4);
LIES_AT(TestError, uCore, sizeof(void*) + 8, 4);
LIES_AT(TestError, uPlace, sizeof(void*) + 20, 4);
LIES_AT(TestError, ullPass, 32, 8);
LIES_AT(TestError, ullFound, 56, 8);
LIES_AT(TestError, ullBits, 64, 8);
LIES_AT(TestError, dRoundOff, 72, 8);
LIES_AT(TestError, dSeconds, 88, 8);
static_assert(sizeof(TestResult) == 16, "a pointer and a double");
LIES_AT(TestResult, dValue, 8, 8);
static_assert(sizeof(TunePoint) == 40, "two numbers, two doubles, two numbers, a pointer in the last eight bytes");
LIES_AT(TunePoint, dReferenceClock, 8, 8);
LIES_AT(TunePoint, uSeconds, 24, 4);
LIES_AT(TunePoint, pError, 32, sizeof(void*));

static_assert(sizeof(MemoryModuleInfo) == 104 && alignof(MemoryModuleInfo) == 8, "eighteen numbers, doubles, flags");
LIES_AT(MemoryModuleInfo, uSize, 12, 4);
LIES_AT(MemoryModuleInfo, uSerial, 52, 4);
LIES_AT(MemoryModuleInfo, adVoltages, 72, 24);
FLAG_LIES_AT(MemoryModuleInfo, bHasSerial, 96);
FLAG_LIES_AT(MemoryModuleInfo, bManufacturerIsText, 99);
static_assert(sizeof(MemoryModuleGrade) == 24 + 11 * 16, "latency, clock and rate, eleven times");
LIES_AT(MemoryModuleGrade, uDataRate, 16, 4);
LIES_AT(MemoryModuleGrade, Tcl, 24, 16);
LIES_AT(MemoryModuleGrade, Tfaw, 184, 16);
static_assert(sizeof(StorageDeviceInfo) == 104 && alignof(StorageDeviceInfo) == 8, "numbers, then flags");
LIES_AT(StorageDeviceInfo, ullBytes, 8, 8);
LIES_AT(StorageDeviceInfo, uLogicalSectorBytes, 32, 4);
LIES_AT(StorageDeviceInfo, uQueueDepth, 88, 4);
FLAG_LIES_AT(StorageDeviceInfo, bSolidState, 92);
FLAG_LIES_AT(StorageDeviceInfo, bSecurityFrozen, 96);
FLAG_LIES_AT(StorageDeviceInfo, bDoubtful, 97);
FLAG_LIES_AT(StorageDeviceFeature, bSupported, sizeof(void*));
static_assert(sizeof(MonitorInfo) == 80 && alignof(MonitorInfo) == 8, "numbers, a double, flags");
LIES_AT(MonitorInfo, uWidthMm, 32, 4);
LIES_AT(MonitorInfo, dAspectRatio, 64, 8);
FLAG_LIES_AT(MonitorInfo, bDigital, 72);
static_assert(sizeof(MonitorMode) == 32, "four numbers, a double, flags");
LIES_AT(MonitorMode, dRefresh, 16, 8);
FLAG_LIES_AT(MonitorMode, bNative, 26);
static_assert(sizeof(ControllerInfo) == 12, "three numbers");
static_assert(sizeof(AttachedDevice) == 384 * sizeof(wchar_t) + 4, "two texts and a number");
LIES_AT(AttachedDevice, szId, 128 * sizeof(wchar_t), 256 * sizeof(wchar_t));
LIES_AT(AttachedDevice, uDepth, 384 * sizeof(wchar_t), 4);
static_assert(sizeof(EngineClockLimits) == 24, "three doubles");
