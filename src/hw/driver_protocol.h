// The requests that the VXTDriver kernel driver answers, and their parameter blocks. Shared with the driver's own build:
// plain C++ without dependencies. All blocks are packed and little-endian.
#pragma once

#include <cstdint>

namespace vxt::protocol {

inline constexpr const wchar_t* kServiceName = L"VXTDriver";
inline constexpr const wchar_t* kDeviceName = L"\\\\.\\VXTDriver";

/// Device-control code: device type 0x8111, any access, buffered.
constexpr uint32_t g_ControlCode(uint32_t uFunction) { return 0x8111u << 16 | uFunction << 2; }

inline constexpr uint32_t kReadMsr = g_ControlCode(3000);
inline constexpr uint32_t kWriteMsr = g_ControlCode(3001);
inline constexpr uint32_t kReadPort = g_ControlCode(3002);
inline constexpr uint32_t kWritePort = g_ControlCode(3003);
inline constexpr uint32_t kMapMemory = g_ControlCode(3004);
inline constexpr uint32_t kUnmapMemory = g_ControlCode(3005);
inline constexpr uint32_t kReadPciConfigOld = g_ControlCode(3006);  ///< the only form older drivers know
inline constexpr uint32_t kWritePciConfigOld = g_ControlCode(3007);
inline constexpr uint32_t kReadPciConfig = g_ControlCode(3008);
inline constexpr uint32_t kWritePciConfig = g_ControlCode(3009);
inline constexpr uint32_t kReadMemory = g_ControlCode(3010);
inline constexpr uint32_t kWriteMemory = g_ControlCode(3011);
inline constexpr uint32_t kAllocateMemory = g_ControlCode(3012);
inline constexpr uint32_t kFreeMemory = g_ControlCode(3013);
inline constexpr uint32_t kEnumeratePci = g_ControlCode(3014);
static_assert(kReadMsr == 0x81112EE0 && kEnumeratePci == 0x81112F18);

#pragma pack(push, 1)
struct CPortBlock {
    uint16_t usPort;
    uint16_t usWidth;  ///< bytes: 1, 2 or 4
    uint32_t uValue;
};
struct CMsrBlock {
    uint32_t uIndex, uLow, uHigh;
};
struct CMemoryHeader {  ///< followed by uSize bytes of data
    uint64_t ullAddress;
    uint32_t uSize;  ///< returned as 0 when a read failed
};
struct CPciConfigHeader {  ///< followed by uSize bytes of data
    uint32_t uBus, uDevice, uFunction, uOffset;
    uint32_t uSize;  ///< returned as 0 when a read failed
};
struct CMapBlock {
    uint32_t uPhysicalLow, uPhysicalHigh, uZero, uSize;
    uint64_t ullAddress;  ///< in the caller's address space, filled by the driver
    uint64_t ullHandle;   ///< the driver's, filled by the driver
};
struct CAllocateBlock {
    uint32_t auArguments[4];
    uint32_t uZero;
    uint32_t uFifthArgument;
    uint64_t ullZero;
    uint64_t ullAddress;  ///< filled by the driver
    uint64_t ullHandle;   ///< filled by the driver
};
/// One PCI function and the start of its configuration header (PCI Local Bus 3.0, 6.1).
struct CPciRecord {
    uint32_t uBus, uDevice, uFunction;
    uint16_t usVendor, usDevice;
    uint16_t usCommand, usStatus;
    uint8_t ucRevision, ucInterface, ucSubclass, ucClass;
    uint8_t aucReserved[4];
    uint32_t auBaseAddresses[6];
};
struct CEnumerateBlock {
    uint64_t ullEcamBase;
    uint32_t uBus, uDevice, uFunction;  ///< where to resume, zero at first, advanced by the driver
    uint32_t uCapacity;                 ///< records
    uint32_t uCount;                    ///< capacity on input, records filled on output
    CPciRecord aRecords[64];
};
#pragma pack(pop)
static_assert(sizeof(CPortBlock) == 8 && sizeof(CMsrBlock) == 12 && sizeof(CMemoryHeader) == 12);
static_assert(sizeof(CPciConfigHeader) == 20 && sizeof(CMapBlock) == 32 && sizeof(CAllocateBlock) == 48);
static_assert(sizeof(CPciRecord) == 52 && sizeof(CEnumerateBlock) == 3356);

}  // namespace vxt::protocol
