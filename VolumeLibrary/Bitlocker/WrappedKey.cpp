#include "WrappedKey.h"

#include "AesCcm.h"
#include "ByteReader.h"
#include "MetadataEntries.h"

#include <algorithm>

namespace vx::bitlocker {

namespace {

// Entry header, then key kind (u16) and two bytes of zeros.
constexpr size_t kKeyBytesAt = 12;

}  // namespace

std::optional<WrappedKey> WrappedKey::parse(ByteView data)
{
    WrappedKey wrapped;
    ByteReader reader(data);
    const ByteView nonce = reader.bytes(wrapped.nonce.size());
    const ByteView mac = reader.bytes(wrapped.mac.size());
    if (!reader.good() || reader.left() == 0)
        return std::nullopt;
    std::copy(nonce.data, nonce.data + nonce.size, wrapped.nonce.begin());
    std::copy(mac.data, mac.data + mac.size, wrapped.mac.begin());
    wrapped.ciphertext = reader.rest().copy();
    return wrapped;
}

std::optional<KeyMaterial> WrappedKey::unwrap(ByteView unwrappingKey) const
{
    std::optional<KeyMaterial> plain = aesCcmUnwrap(unwrappingKey, *this);
    if (!plain)
        return std::nullopt;
    // The second field is an entry type and not always 0, so size is read as 16 bits.
    ByteReader reader(plain->view());
    const size_t size = reader.u16();
    reader.skip(2);
    const auto valueType = static_cast<ValueType>(reader.u16());
    if (!reader.good() || valueType != ValueType::Key || size < kKeyBytesAt || size > plain->size())
        return std::nullopt;
    return KeyMaterial(plain->view().first(size).from(kKeyBytesAt));
}

}  // namespace vx::bitlocker
