#include "KeyMaterial.h"

#include "MemoryProtection.h"

#include <cstring>
#include <new>
#include <utility>

namespace vx::bitlocker {

KeyMaterial::KeyMaterial(size_t size) : _size(size)
{
    if (size == 0)
        return;
    _data = static_cast<uint8_t *>(AllocateProtectedMemory(size));
    if (_data == nullptr)
        throw std::bad_alloc();
}

KeyMaterial::KeyMaterial(ByteView bytes) : KeyMaterial(bytes.size)
{
    if (bytes.size > 0)
        std::memcpy(_data, bytes.data, bytes.size);
}

KeyMaterial::KeyMaterial(KeyMaterial &&other) noexcept
    : _data(std::exchange(other._data, nullptr)), _size(std::exchange(other._size, 0))
{
}

KeyMaterial &KeyMaterial::operator=(KeyMaterial &&other) noexcept
{
    std::swap(_data, other._data);
    std::swap(_size, other._size);
    return *this;
}

void KeyMaterial::Wipe()
{
    if (_data != nullptr)
        ReleaseProtectedMemory(_data, _size);
    _data = nullptr;
    _size = 0;
}

}  // namespace vx::bitlocker
