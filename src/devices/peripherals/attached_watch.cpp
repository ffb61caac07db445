#include "devices/peripherals/attached_watch.h"

namespace vxt {

bool CAttachedWatch::Look() {
    const std::lock_guard Turn(m_Turn);
    return _LookInTurn();
}

bool CAttachedWatch::_LookInTurn() {
    CAttachedDevices Devices;
    if (!g_ListAttached(m_sId, Devices)) return false;
    const std::lock_guard Guard(m_ListLock);
    if (m_uChanges != 0 && g_AreEqual(m_Devices, Devices)) return true;
    m_Devices.swap(Devices);
    ++m_uChanges;
    return true;
}

bool CAttachedWatch::Begin() {
    if (m_bRunning) return true;
    const std::lock_guard Turn(m_Turn);
    if (m_bRunning) return true;
    const bool bLooked = _LookInTurn();
    m_bRunning = m_Thread.Start(_Run, this);
    return bLooked && m_bRunning;
}

void CAttachedWatch::_Run(void* pSelf) {
    auto& rSelf = *static_cast<CAttachedWatch*>(pSelf);
    std::unique_lock Lock(rSelf.m_StopLock);
    while (!rSelf.m_StopAsked.wait_for(Lock, rSelf.m_Interval, [&] { return rSelf.m_bStop; })) {
        Lock.unlock();
        (void)rSelf.Look();  // the next one may do better
        Lock.lock();
    }
}

void CAttachedWatch::Stop() {
    {
        const std::lock_guard Guard(m_StopLock);
        m_bStop = true;
    }
    m_StopAsked.notify_all();
    m_Thread.Join();
    m_bStop = m_bRunning = false;
    m_Devices.clear();
    m_uChanges = 0;
}

uint32_t CAttachedWatch::Count() {
    const std::lock_guard Guard(m_ListLock);
    return static_cast<uint32_t>(m_Devices.size());
}

bool CAttachedWatch::Get(uint32_t uDevice, vxtapi::AttachedDevice& rDevice) {
    const std::lock_guard Guard(m_ListLock);
    if (uDevice >= m_Devices.size()) return false;
    rDevice = m_Devices[uDevice];
    return true;
}

}  // namespace vxt
