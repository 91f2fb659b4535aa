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

std::optional<WrappedKey> WrappedKey::Parse(ByteView data)
{
    WrappedKey wrapped;
    ByteReader reader(data);
    const ByteView nonce = reader.Bytes(wrapped.nonce.size());
    const ByteView mac = reader.Bytes(wrapped.mac.size());
    if (!reader.Good() || reader.Left() == 0)
        return std::nullopt;
    std::copy(nonce.data, nonce.data + nonce.size, wrapped.nonce.begin());
    std::copy(mac.data, mac.data + mac.size, wrapped.mac.begin());
    wrapped.ciphertext = reader.Rest().Copy();
    return wrapped;
}

std::optional<KeyMaterial> WrappedKey::Unwrap(ByteView unwrappingKey) const
{
    std::optional<KeyMaterial> plain = AesCcmUnwrap(unwrappingKey, *this);
    if (!plain)
        return std::nullopt;
    // The second field is an entry type and not always 0, so size is read as 16 bits.
    ByteReader reader(plain->View());
    const size_t size = reader.U16();
    reader.Skip(2);
    const auto valueType = static_cast<ValueType>(reader.U16());
    if (!reader.Good() || valueType != ValueType::kKey || size < kKeyBytesAt ||
        size > plain->Size())
        return std::nullopt;
    return KeyMaterial(plain->View().First(size).From(kKeyBytesAt));
}

}  // namespace vx::bitlocker
