// The base of every kind of volume in this library: IVolume, and a destructor for its owner.
// The destructor takes a place after the operations of IVolume and leaves theirs as they are.
#pragma once

#include "IVolume.h"

namespace vx {

class OwnedVolume : public IVolume {
public:
    virtual ~OwnedVolume() = default;
};

}  // namespace vx
