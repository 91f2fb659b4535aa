#import "CBitlockerWrapper.h"

#include "ThreadChecks.h"

#include <dlfcn.h>

CBitlockerWrapper::CBitlockerWrapper()
{
    AssertMainThread();
    NSString *folder = [[[NSBundle mainBundle] bundlePath] stringByDeletingLastPathComponent];
    _strLibraryPath = [[folder stringByAppendingString:@"/libBitLockerWapper.dylib"] copy];
}

CBitlockerWrapper::~CBitlockerWrapper()
{
    [_strLibraryPath release];
}

bool CBitlockerWrapper::openBitlockerDevice(const char *first, const char *second,
                                            const char *third, IVolume **volume, int32_t *status)
{
    AssertMainThread();
    static OpenBitlockerDeviceFunction lpfn = nullptr;

    if (lpfn == nullptr) {
        void *library = dlopen([_strLibraryPath UTF8String], RTLD_LAZY);
        if (library == nullptr)
            return false;
        lpfn =
            reinterpret_cast<OpenBitlockerDeviceFunction>(dlsym(library, "open_bitlocker_device"));
        if (lpfn == nullptr)
            return false;
    }

    const int32_t result = lpfn(first, second, third, volume);
    if (status != nullptr)
        *status = result;
    return true;
}
