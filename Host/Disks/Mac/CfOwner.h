// The owner of a Core Foundation object that a function named "Create" or "Copy" has returned.
// Threads: one at a time.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

namespace vx {

template <typename Reference>
class CfOwner {
public:
    explicit CfOwner(Reference object) : _object(object) {}
    ~CfOwner()
    {
        if (_object != nullptr)
            CFRelease(_object);
    }
    CfOwner(const CfOwner &) = delete;
    CfOwner &operator=(const CfOwner &) = delete;

    explicit operator bool() const { return _object != nullptr; }
    Reference Get() const { return _object; }

private:
    Reference _object;
};

}  // namespace vx
