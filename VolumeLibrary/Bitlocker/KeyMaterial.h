// Key bytes, as they are read and as they are owned: ProtectedBytes with views of them. Moved, not
// copied. Threads: not shared while one writes. Units: bytes.
#pragma once

#include "ByteView.h"
#include "ProtectedBytes.h"

namespace vx::bitlocker {

class KeyMaterial : public ProtectedBytes {
public:
    using ProtectedBytes::ProtectedBytes;
    explicit KeyMaterial(ByteView bytes) : ProtectedBytes(bytes.data, bytes.size) {}

    bool Empty() const { return Size() == 0; }
    ByteView View() const { return {Data(), Size()}; }
};

}  // namespace vx::bitlocker
