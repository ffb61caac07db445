// One byte through the south bridge's SMBus host controller.
#include "api/log/log_checks.h"
#include "hw/driver_handler.h"

namespace vxt {

namespace {

// Host controller registers from its I/O base, and their bits.
constexpr uint16_t kStatus = 0, kControl = 2, kCommand = 3, kAddress = 4, kData0 = 5;
constexpr uint8_t kBusy = 1 << 0, kCompleted = 1 << 1;
constexpr uint8_t kErrors = 1 << 2 | 1 << 3 | 1 << 4;  ///< device error, collision, failed
constexpr uint8_t kClearAll = 0xFF;
constexpr uint8_t kStartByteData = 0x48;
constexpr uint8_t kReadBit = 1;  ///< of the address byte
constexpr int kPollLimit = 1000;

}  // namespace

bool CDriverHandler::AccessSMBus(uint8_t ucAddress, uint8_t ucOffset, uint8_t& rucData) {
    LOG_PROCESS_ERROR(m_SMBusBase);  // without a controller these ports belong to somebody else
    uint8_t ucData = 0;
    bool bRetCode = false;
    const auto Read = [&](uint16_t usRegister) {
        return ReadPort(static_cast<uint16_t>(m_SMBusBase + usRegister), ucData);
    };
    const auto Write = [&](uint16_t usRegister, uint8_t ucValue) {
        return WritePort(static_cast<uint16_t>(m_SMBusBase + usRegister), ucValue);
    };

    for (;;) {  // Kept: restarts have no limit
        int nCounter = 0;
        do {
            bRetCode = Read(kStatus);
            LOG_PROCESS_ERROR(bRetCode);
            LOG_PROCESS_ERROR(ucData != 0xFF);  // nobody drives the bus: no controller
        } while (ucData & kBusy && ++nCounter < kPollLimit);
        LOG_PROCESS_ERROR(nCounter < kPollLimit, "nCounter < 1000");

        bRetCode = Write(kStatus, kClearAll) && Read(kAddress) && Write(kAddress, ucAddress) && Read(kCommand) &&
                   Write(kCommand, ucOffset) && (ucAddress & kReadBit || Write(kData0, rucData)) && Read(kControl) &&
                   Write(kControl, kStartByteData);
        LOG_PROCESS_ERROR(bRetCode);

        nCounter = 0;
        do {
            bRetCode = Read(kStatus);
            LOG_PROCESS_ERROR(bRetCode);
            if (ucData & kErrors) return false;  // the device did not answer
        } while (!(ucData & kCompleted) && ++nCounter < kPollLimit);
        LOG_PROCESS_ERROR(nCounter < kPollLimit, "nCounter < 1000");

        uint8_t ucResult = rucData;
        if (ucAddress & kReadBit) {
            bRetCode = Read(kData0);
            LOG_PROCESS_ERROR(bRetCode);
            ucResult = ucData;
        }
        // Somebody else (the firmware) may have used the controller meanwhile: then the transfer was not ours.
        bRetCode = Read(kAddress);
        LOG_PROCESS_ERROR(bRetCode);
        LOG_CHECK_ERROR(ucData == ucAddress);
        if (ucData != ucAddress) continue;
        bRetCode = Read(kCommand);
        LOG_PROCESS_ERROR(bRetCode);
        LOG_CHECK_ERROR(ucData == ucOffset);
        if (ucData != ucOffset) continue;
        rucData = ucResult;
        return true;
    }
}

}  // namespace vxt
