// The SDK's records lie the same in memory for every compiler; a host and the library may come from different ones.
#include <stddef.h>
#include <vxtapi/vxtapi.h>

using namespace vxtapi;

#define LIES_AT(field, offset, size) \
    static_assert(offsetof(CPstate, field) == offset && sizeof(CPstate::field) == size, #field " has moved")

static_assert(sizeof(CPstate) == 104 && alignof(CPstate) == 8, "twelve doubles and a flag");
LIES_AT(dCpuFid, 0, 8);
LIES_AT(dCpuDid, 8, 8);
LIES_AT(dCpuVid, 16, 8);
LIES_AT(dNbDid, 24, 8);
LIES_AT(dNbVid, 32, 8);
LIES_AT(dIddDiv, 40, 8);
LIES_AT(dPstateEn, 48, 8);
LIES_AT(dUnused, 56, 8);
LIES_AT(dCoreFrequency, 64, 8);
LIES_AT(dCoreVoltage, 72, 8);
LIES_AT(dNbFrequency, 80, 8);
LIES_AT(dNbVoltage, 88, 8);
LIES_AT(bPstateEn, 96, 1);

static_assert(sizeof(eDeviceType) == 4 && eDeviceType(0) < eDeviceType(-1), "unsigned, 32 bits");
static_assert(sizeof(bool) == 1 && sizeof(wchar_t) == VXT_WCHAR_SIZE, "as the library's");
