#include "ProtectedBytes.h"

#include "CoreDumps.h"
#include "Overwrite.h"

#include <cstring>
#include <new>
#include <sys/mman.h>
#include <utility>

namespace vx {

ProtectedBytes::ProtectedBytes(size_t size) : _size(size)
{
    if (size == 0)
        return;
    void *pages = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANON, -1, 0);
    if (pages == MAP_FAILED)
        throw std::bad_alloc();
    (void)mlock(pages, size);  // the limit on locked memory may be zero
    LeaveOutOfCoreDumps(pages, size);
    _data = static_cast<uint8_t *>(pages);
}

ProtectedBytes::ProtectedBytes(const void *bytes, size_t size) : ProtectedBytes(size)
{
    if (size > 0)
        std::memcpy(_data, bytes, size);
}

ProtectedBytes::ProtectedBytes(ProtectedBytes &&other) noexcept
    : _data(std::exchange(other._data, nullptr)), _size(std::exchange(other._size, 0))
{
}

ProtectedBytes &ProtectedBytes::operator=(ProtectedBytes &&other) noexcept
{
    if (this != &other) {
        Wipe();
        _data = std::exchange(other._data, nullptr);
        _size = std::exchange(other._size, 0);
    }
    return *this;
}

void ProtectedBytes::Wipe()
{
    if (_data != nullptr) {
        Overwrite(_data, _size);
        munmap(_data, _size);  // unlocks it too
    }
    _data = nullptr;
    _size = 0;
}

}  // namespace vx
