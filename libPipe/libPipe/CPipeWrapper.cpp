#include "CPipeWrapper.h"

#include "SigPipeBlock.h"
#include "SigPipeSilence.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

bool IsFifo(int descriptor)
{
    struct stat status;
    return fstat(descriptor, &status) == 0 && S_ISFIFO(status.st_mode);
}

}  // namespace

bool CPipeWrapper::PathFits(const char *name)
{
    return name && strnlen(name, kPathSize) < kPathSize;
}

void CPipeWrapper::InitPipe(const char *name, int flags)
{
    if (!PathFits(name))
        return;
    memset(_path, 0, sizeof(_path));
    memcpy(_path, name, strlen(name));
    _flags = flags;
}

int CPipeWrapper::OpenPipe()
{
    if (_flags & O_CREAT)
        mkfifo(_path, 0777);
    _descriptor.Release();  // the caller's, if it opened the pipe before
    vx::UniqueFd opened(open(_path, (_flags & ~O_CREAT) | O_NOFOLLOW | O_CLOEXEC));
    if (!opened || !IsFifo(opened.Get()))
        return -1;
    vx::SilenceSigPipe(opened.Get());
    _descriptor = std::move(opened);
    return _descriptor.Get();
}

long CPipeWrapper::ReadFromPipe(char *buf, size_t len)
{
    if (!buf || !_descriptor)
        return -1;
    memset(buf, 0, len);
    // The read's own result decides: a failure of an earlier call left in errno does not
    // hide a good block.
    return read(_descriptor.Get(), buf, len);
}

long CPipeWrapper::WriteToPipe(const char *buf, size_t len)
{
    if (!buf || !_descriptor)
        return -1;
    const vx::SigPipeBlock block;
    return write(_descriptor.Get(), buf, len);
}

void CPipeWrapper::ClosePipe()
{
    if (!_descriptor)
        return;
    _descriptor.Close();
    memset(_path, 0, sizeof(_path));
}

int CPipeWrapper::DeletePipe()
{
    return unlink(_path);
}
