#include "CPipeWrapper.h"

#include "SigPipeBlock.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool IsFifo(int descriptor)
{
    struct stat status;
    return fstat(descriptor, &status) == 0 && S_ISFIFO(status.st_mode);
}

void SilenceSigPipe(int descriptor)
{
#ifdef F_SETNOSIGPIPE
    // Where this exists, a write without a reader signals the process, not the writing thread,
    // and blocking the signal in one thread would not hold it back.
    fcntl(descriptor, F_SETNOSIGPIPE, 1);
#else
    (void)descriptor;
#endif
}

}  // namespace

bool CPipeWrapper::PathFits(const char *name)
{
    return name && strnlen(name, kPathSize) < kPathSize;
}

CPipeWrapper::~CPipeWrapper()
{
    ClosePipe();
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
    _descriptor = open(_path, (_flags & ~O_CREAT) | O_NOFOLLOW | O_CLOEXEC);
    if (_descriptor == -1)
        return -1;
    if (!IsFifo(_descriptor)) {
        close(_descriptor);
        _descriptor = -1;
        return -1;
    }
    SilenceSigPipe(_descriptor);
    return _descriptor;
}

long CPipeWrapper::ReadFromPipe(char *buf, size_t len)
{
    if (!buf || _descriptor == -1)
        return -1;
    memset(buf, 0, len);
    // The read's own result decides: a failure of an earlier call left in errno does not
    // hide a good block.
    return read(_descriptor, buf, len);
}

long CPipeWrapper::WriteToPipe(const char *buf, size_t len)
{
    if (!buf || _descriptor == -1)
        return -1;
    const vx::SigPipeBlock block;
    return write(_descriptor, buf, len);
}

void CPipeWrapper::ClosePipe()
{
    if (_descriptor == -1)
        return;
    close(_descriptor);
    _descriptor = -1;
    memset(_path, 0, sizeof(_path));
}

int CPipeWrapper::DeletePipe()
{
    return unlink(_path);
}
