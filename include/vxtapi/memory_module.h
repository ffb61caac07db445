// A memory module.
#pragma once

#include <vxtapi/device.h>

namespace vxtapi {

/// How far a module's SPD data can be believed. What they hold is told whatever the verdict, but for the last three.
enum eSpdVerdict : uint32_t {
    kSpdRight = 0,          ///< the checksum (DDR3: the CRC) is right
    kSpdWrongChecksum = 1,  ///< real modules have that, too
    kSpdTooShort = 2,       ///< cut before the end of what the checksum covers
    kSpdErased = 3,         ///< all bytes 00h or all FFh
    kSpdUnknownType = 4,    ///< neither DDR, DDR2 nor DDR3
    kSpdUnreadable = 5,     ///< the module answered at start-up and does not now
};

/// JEDEC's memory types, SPD byte 2, as far as they are decoded; the memory controller's GetMemoryType has the same.
enum eSpdMemory : uint32_t { kSpdDdr = 7, kSpdDdr2 = 8, kSpdDdr3 = 11 };

/// What a module says of itself. 0 where it does not say.
struct MemoryModuleInfo {
    uint32_t uVerdict;      ///< eSpdVerdict
    uint32_t uMemory;       ///< byte 2 as it stands, also where it is none of eSpdMemory
    uint32_t uAddress;      ///< on the SMBus, seven bits: 50h to 57h
    uint32_t uSize;         ///< MiB
    uint32_t uRanks;        ///< also called rows or banks of the module
    uint32_t uDataWidth;    ///< bits, without ECC
    uint32_t uEccWidth;     ///< bits; 0: no ECC
    uint32_t uDeviceWidth;  ///< bits of one memory chip
    uint32_t uBanks;        ///< of a memory chip
    uint32_t uRowBits;      ///< of a row's address
    uint32_t uColumnBits;   ///< of a column's address
    uint32_t uSpdRevision;  ///< of the data's layout: 12h is 1.2
    uint32_t uModuleRevision;
    uint32_t uSerial;       ///< first byte highest; see bHasSerial
    uint32_t uYear;         ///< of its making, four digits; together with the week or not at all
    uint32_t uWeek;         ///< 1 to 53
    uint32_t uStoredSum;    ///< eight bits, DDR3: a CRC of sixteen; see bHasSum
    uint32_t uComputedSum;  ///< what the bytes make
    double adVoltages[3];   ///< V, at which the module works, from the first that it names
    uint8_t bHasSerial;
    uint8_t bHasSum;
    uint8_t bSizeDoubtful;        ///< DDR, DDR2: ranks, rows and columns make another size
    uint8_t bManufacturerIsText;  ///< letters stand where the maker's number should: the name is chance
    uint8_t abUnused[4];
};

/// A shortest time; both 0 where the module does not say.
struct MemoryModuleTime {
    double dNanoseconds;
    double dClocks;  ///< whole but for the CAS latency of DDR, which has halves
};

/// The highest clock that a CAS latency allows, and the timings there.
struct MemoryModuleGrade {
    double dCasLatency;  ///< clocks
    double dClock;       ///< MHz
    uint32_t uDataRate;  ///< MT/s as it is called: 667 with 333.33 MHz
    uint32_t uUnused;
    MemoryModuleTime Tcl;   ///< CAS latency
    MemoryModuleTime Trcd;  ///< RAS to CAS delay
    MemoryModuleTime Trp;   ///< row precharge
    MemoryModuleTime Tras;  ///< row active
    MemoryModuleTime Trc;   ///< row cycle
    MemoryModuleTime Trrd;  ///< row to row
    MemoryModuleTime Twr;   ///< write recovery; DDR has none in its data, nor the next two
    MemoryModuleTime Twtr;  ///< write to read
    MemoryModuleTime Trtp;  ///< read to precharge
    MemoryModuleTime Trfc;  ///< refresh cycle
    MemoryModuleTime Tfaw;  ///< four activates' window; DDR3 only
};

/// Device type 4, index 0 upward: one for each address from 50h to 57h of the SMBus at which a module answers, in ascending order.
/// Source: the module's serial presence detect (SPD) data, laid out after JEDEC Standard 21-C, 4.1.2.4 (DDR), 4.1.2.10 (DDR2)
/// and 4.1.2.11 (DDR3).
///
/// Start-up only asks whether a module is there: its data are read with the first question (128 bytes, DDR3: 176, about 0.5 ms
/// each) and kept. GetVendor is the module's maker (empty: not told, or a number that is nobody's), GetModel its part
/// number, GetDescription a text such as "DDR3 UDIMM, 2048 MiB".
///
/// Threads: the SMBus takes no lock. Nobody else, also in no other process, may use it meanwhile.
class CMemoryModule : public CDevice {
public:
    /// Slot 10: false when the module does not answer; the record has the address and kSpdUnreadable then.
    virtual bool GetModuleInfo(MemoryModuleInfo* pInfo) = 0;
    /// Slot 11: its kind: "UDIMM", "RDIMM", "SO-DIMM" ...; empty where it does not say.
    virtual const wchar_t* GetModuleType() = 0;
    virtual const wchar_t* GetDramVendor() = 0;  ///< slot 12: of the memory chips; DDR3 only, else empty
    virtual uint32_t GetGradeCount() = 0;        ///< slot 13: 0 also when the module does not answer
    /// Slot 14: the fastest first, of equal clocks the lowest latency first. False beyond the last one.
    virtual bool GetGrade(uint32_t uGrade, MemoryModuleGrade* pGrade) = 0;
    /// Slot 15: every CAS latency that the module supports, in clocks, ascending. `ruSize` is the array's capacity and
    /// becomes the number of values. False, and nothing written, when they do not fit (at most 16) or there are none.
    virtual bool GetCasLatencies(double* pdClocks, uint32_t& ruSize) = 0;
    /// Slot 16: the data themselves, all 256 bytes, read whenever this is called. `ruSize` is the buffer's size and becomes
    /// the number of bytes that the module has. False, and nothing written, when it is less than 256 or no byte was read.
    virtual bool ReadSpd(uint8_t* pucBytes, uint32_t& ruSize) = 0;

protected:
    ~CMemoryModule() = default;
};

}  // namespace vxtapi
