#include "platform/error_code.h"

#include "platform/windows/windows_api.h"

namespace vxt::platform {

static_assert(kErrorFileNotFound == ERROR_FILE_NOT_FOUND && kErrorAccessDenied == ERROR_ACCESS_DENIED);
static_assert(kErrorInvalidHandle == ERROR_INVALID_HANDLE && kErrorServiceExists == ERROR_SERVICE_EXISTS);
static_assert(kErrorNoMoreItems == ERROR_NO_MORE_ITEMS);
static_assert(kErrorServiceAlreadyRunning == ERROR_SERVICE_ALREADY_RUNNING);
static_assert(kErrorServiceDoesNotExist == ERROR_SERVICE_DOES_NOT_EXIST);
static_assert(kErrorServiceNotActive == ERROR_SERVICE_NOT_ACTIVE);
static_assert(kErrorServiceMarkedForDelete == ERROR_SERVICE_MARKED_FOR_DELETE);

uint32_t LastError() { return GetLastError(); }

}  // namespace vxt::platform
