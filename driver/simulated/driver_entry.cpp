// The simulated VXTDriver.sys: the kernel side of the driver protocol, answered by a simulated PC inside the driver.
//
// For winedevice.exe only: it imports a C runtime, which no real kernel offers.

// The driver kit declares these two again, differently from the compiler's own header.
#include <intrin.h>
#define InterlockedBitTestAndSet InterlockedBitTestAndSetOfDriverKit
#define InterlockedBitTestAndReset InterlockedBitTestAndResetOfDriverKit
#include <ntifs.h>
#undef InterlockedBitTestAndSet
#undef InterlockedBitTestAndReset

#include <exception>

#include "simulated_pc.h"

using vxtdriver::CSimulatedPc;

namespace {

constexpr ULONG kDeviceType = 0x8111;  // as in the control codes

UNICODE_STRING g_Text(const wchar_t* pszText) {
    UNICODE_STRING Text;
    RtlInitUnicodeString(&Text, pszText);
    return Text;
}
UNICODE_STRING g_DeviceName() { return g_Text(L"\\Device\\VXTDriver"); }
UNICODE_STRING g_LinkName() { return g_Text(L"\\DosDevices\\VXTDriver"); }

std::unique_ptr<CSimulatedPc> s_pPc;

NTSTATUS g_Complete(IRP* pIrp, NTSTATUS lStatus, ULONG_PTR uInformation = 0) {
    pIrp->IoStatus.Status = lStatus;
    pIrp->IoStatus.Information = uInformation;
    IoCompleteRequest(pIrp, IO_NO_INCREMENT);
    return lStatus;
}

NTSTATUS NTAPI g_OnCreate(DEVICE_OBJECT*, IRP* pIrp) { return g_Complete(pIrp, STATUS_SUCCESS); }

NTSTATUS NTAPI g_OnClose(DEVICE_OBJECT*, IRP* pIrp) {
    s_pPc->Close(IoGetCurrentIrpStackLocation(pIrp)->FileObject);
    return g_Complete(pIrp, STATUS_SUCCESS);
}

ULONG g_Id(HANDLE hId) { return static_cast<ULONG>(reinterpret_cast<uintptr_t>(hId)); }

/// Behind a drive's device object: its place among the PC's devices.
using CDriveExtension = size_t;

NTSTATUS NTAPI g_OnDeviceControl(DEVICE_OBJECT* pDevice, IRP* pIrp) {
    const IO_STACK_LOCATION* const pStack = IoGetCurrentIrpStackLocation(pIrp);
    const auto& rControl = pStack->Parameters.DeviceIoControl;
    const vxtdriver::CClient Client{g_Id(PsGetProcessId(IoGetRequestorProcess(pIrp))),
                                    g_Id(PsGetThreadId(pIrp->Tail.Overlay.Thread)), pStack->FileObject};
    // Buffered method: one buffer, as long as the longer of the two sides, holds the input and then the output.
    uint8_t* const pBuffer = static_cast<uint8_t*>(pIrp->AssociatedIrp.SystemBuffer);
    try {
        if (pDevice->DeviceType != kDeviceType) {
            const size_t uDrive = *static_cast<const CDriveExtension*>(pDevice->DeviceExtension);
            uint32_t uReturned = 0;
            const vxtdriver::EDriveStatus eStatus =
                s_pPc->ControlDrive(uDrive, Client, rControl.IoControlCode, {pBuffer, rControl.InputBufferLength},
                                    {pBuffer, rControl.OutputBufferLength}, uReturned);
            return g_Complete(pIrp, static_cast<NTSTATUS>(eStatus), uReturned);
        }
        const vxtsim::CControlReply Reply =
            s_pPc->Control(Client, rControl.IoControlCode, {pBuffer, rControl.InputBufferLength},
                           {pBuffer, rControl.OutputBufferLength});
        return Reply.bSuccess ? g_Complete(pIrp, STATUS_SUCCESS, Reply.uReturned)
                              : g_Complete(pIrp, STATUS_INVALID_PARAMETER);
    } catch (const std::exception&) { return g_Complete(pIrp, STATUS_INSUFFICIENT_RESOURCES); }
}

void g_DeleteDevices(DRIVER_OBJECT* pDriver) {
    while (pDriver->DeviceObject) IoDeleteDevice(pDriver->DeviceObject);
}

void NTAPI g_OnUnload(DRIVER_OBJECT* pDriver) {
    UNICODE_STRING LinkName = g_LinkName();
    IoDeleteSymbolicLink(&LinkName);
    s_pPc.reset();
    g_DeleteDevices(pDriver);
}

NTSTATUS g_MakeDrives(DRIVER_OBJECT* pDriver) {
    NTSTATUS lStatus = STATUS_SUCCESS;
    for (size_t uDrive = 0; uDrive < s_pPc->Devices().size() && NT_SUCCESS(lStatus); ++uDrive) {
        const vxtsim::CPluggedDevice& rDrive = s_pPc->Devices()[uDrive];
        if (rDrive.sDrive.empty()) continue;
        const std::wstring sName = vxtdriver::g_DriveObjectName(uDrive);
        UNICODE_STRING Name = g_Text(sName.c_str());
        DEVICE_OBJECT* pDevice = nullptr;
        lStatus = IoCreateDevice(pDriver, sizeof(CDriveExtension), &Name,
                                 rDrive.sClass == "cdrom" ? FILE_DEVICE_CD_ROM : FILE_DEVICE_DISK, 0, FALSE, &pDevice);
        if (NT_SUCCESS(lStatus)) *static_cast<CDriveExtension*>(pDevice->DeviceExtension) = uDrive;
    }
    return lStatus;
}

NTSTATUS g_Start(DRIVER_OBJECT* pDriver) {
    s_pPc = vxtdriver::g_MakePcBesideDriver();
    if (!s_pPc) return STATUS_DEVICE_CONFIGURATION_ERROR;

    UNICODE_STRING DeviceName = g_DeviceName(), LinkName = g_LinkName();
    DEVICE_OBJECT* pDevice = nullptr;
    NTSTATUS lStatus = IoCreateDevice(pDriver, 0, &DeviceName, kDeviceType, 0, FALSE, &pDevice);
    if (NT_SUCCESS(lStatus)) lStatus = g_MakeDrives(pDriver);
    if (NT_SUCCESS(lStatus)) lStatus = IoCreateSymbolicLink(&LinkName, &DeviceName);
    if (!NT_SUCCESS(lStatus)) {
        s_pPc.reset();
        g_DeleteDevices(pDriver);
        return lStatus;
    }
    pDriver->MajorFunction[IRP_MJ_CREATE] = g_OnCreate;
    pDriver->MajorFunction[IRP_MJ_CLOSE] = g_OnClose;
    pDriver->MajorFunction[IRP_MJ_DEVICE_CONTROL] = g_OnDeviceControl;
    pDriver->DriverUnload = g_OnUnload;
    return STATUS_SUCCESS;
}

}  // namespace

extern "C" int WINAPI DllMainCRTStartup(void* pModule, ULONG ulReason, void* pReserved);

/// winedevice.exe loads a driver as it loads a DLL and calls this entry first for that: the second argument is then the
/// reason, 0 to 3, and the C runtime starts or ends. The call with a registry path follows.
extern "C" NTSTATUS NTAPI DriverEntry(DRIVER_OBJECT* pDriver, UNICODE_STRING* pRegistryPath) {
    const uintptr_t uReason = reinterpret_cast<uintptr_t>(pRegistryPath);
    if (uReason <= 3) return DllMainCRTStartup(pDriver, static_cast<ULONG>(uReason), nullptr);
    try {
        return g_Start(pDriver);
    } catch (const std::exception&) { return STATUS_INSUFFICIENT_RESOURCES; }
}

extern "C" int WINAPI DllMain(void*, ULONG, void*) { return 1; }
