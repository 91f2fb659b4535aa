// Owns one file descriptor: closed on destruction, moved but not copied. -1 is none.
#pragma once

#include <unistd.h>
#include <utility>

namespace vx {

class Descriptor {
public:
    explicit Descriptor(int descriptor = -1) : _descriptor(descriptor) {}
    ~Descriptor() { Close(); }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    Descriptor(Descriptor &&other) noexcept : _descriptor(std::exchange(other._descriptor, -1)) {}
    Descriptor &operator=(Descriptor &&other) noexcept
    {
        std::swap(_descriptor, other._descriptor);
        return *this;
    }

    int Get() const { return _descriptor; }
    bool IsOpen() const { return _descriptor != -1; }
    void Close()
    {
        if (IsOpen())
            close(std::exchange(_descriptor, -1));
    }

private:
    int _descriptor;
};

}  // namespace vx
