#include "GivenSectorKey.h"

#include "ByteReader.h"
#include "HexText.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace vx::bitlocker {
namespace {

constexpr size_t kFileBytes = 66;
constexpr size_t kLongestKey = 64;
constexpr size_t kTweakKeyAt = 32;  // with a diffuser
constexpr size_t kLongestName = 24;

constexpr Method kMethods[] = {Method::kAes128Elephant, Method::kAes256Elephant,
                               Method::kAes128Cbc,      Method::kAes256Cbc,
                               Method::kAes128Xts,      Method::kAes256Xts};

Error Malformed(std::string detail)
{
    return {Status::kMalformedSecret, std::move(detail)};
}

bool IsLengthOfKey(size_t bytes)
{
    return bytes == 16 || bytes == 32 || bytes == kLongestKey;
}

bool IsElephant(Method method)
{
    return method == Method::kAes128Elephant || method == Method::kAes256Elephant;
}

bool IsXts(Method method)
{
    return method == Method::kAes128Xts || method == Method::kAes256Xts;
}

size_t AesKeySize(Method method)
{
    const bool isLong = method == Method::kAes256Elephant || method == Method::kAes256Cbc ||
                        method == Method::kAes256Xts;
    return isLong ? 32 : 16;
}

// The words of a method in any order: "aes-xts-128", "AES-128-XTS", "aes-cbc-256-elephant";
// kNone for other texts. A text that is long enough to be half of a key is not copied.
Method MethodOf(std::string_view text)
{
    std::string rest;
    if (text.size() > kLongestName)
        return Method::kNone;
    for (const char sign : text)
        rest += sign >= 'A' && sign <= 'Z' ? static_cast<char>(sign - 'A' + 'a') : sign;
    const auto take = [&rest](std::string_view word) {
        const size_t at = rest.find(word);
        if (at != rest.npos)
            rest.erase(at, word.size());
        return at != rest.npos;
    };
    const bool isLong = take("256");
    const bool isShort = take("128");
    const bool isXts = take("xts");
    const bool isCbc = take("cbc");
    const bool isDiffused = take("elephant") || take("diffuser");
    take("aes");
    const bool isOnlyWords = rest.find_first_not_of("-_ ") == rest.npos;
    if (!isOnlyWords || isLong == isShort || isXts == isCbc || (isXts && isDiffused))
        return Method::kNone;
    if (isXts)
        return isLong ? Method::kAes256Xts : Method::kAes128Xts;
    if (isDiffused)
        return isLong ? Method::kAes256Elephant : Method::kAes128Elephant;
    return isLong ? Method::kAes256Cbc : Method::kAes128Cbc;
}

bool IsZero(ByteView bytes)
{
    return std::all_of(bytes.data, bytes.data + bytes.size, [](uint8_t byte) { return byte == 0; });
}

// As the metadata has them.
KeyMaterial Arranged(Method method, ByteView key, ByteView tweakKey)
{
    KeyMaterial whole(SectorKeySize(method));
    const size_t tweakKeyAt = IsElephant(method) ? kTweakKeyAt : key.size;
    std::memcpy(whole.Data(), key.data, key.size);
    std::memcpy(whole.Data() + tweakKeyAt, tweakKey.data, tweakKey.size);
    return whole;
}

std::string Takes(Method method, size_t bytes, size_t given)
{
    return MethodName(method) + " takes a key of " + std::to_string(bytes) +
           " bytes, and this one has " + std::to_string(given);
}

}  // namespace

Result<GivenSectorKey> GivenSectorKey::FromText(std::string_view given)
{
    GivenSectorKey key;
    const size_t colon = given.find(':');
    if (colon != given.npos)
        key._method = MethodOf(given.substr(0, colon));
    if (key._method != Method::kNone)
        given.remove_prefix(colon + 1);
    const size_t parts = given.find(':');
    if (parts != given.npos && given.find(':', parts + 1) == given.npos) {
        std::optional<KeyMaterial> front = BytesFromHex(given.substr(0, parts));
        std::optional<KeyMaterial> tweak = BytesFromHex(given.substr(parts + 1));
        if (front && tweak && IsLengthOfKey(front->Size()) && front->Size() == tweak->Size()) {
            key._key = std::move(*front);
            key._tweakKey = std::move(*tweak);
            return key;
        }
    }
    std::optional<KeyMaterial> bytes = BytesFromHex(given);
    if (bytes && IsLengthOfKey(bytes->Size())) {
        key._key = std::move(*bytes);
        return key;
    }
    return Malformed("a key of sectors has 32, 64 or 128 hexadecimal digits, and this one has " +
                     HexDigitsText(given));
}

Result<GivenSectorKey> GivenSectorKey::FromFile(ByteView contents)
{
    const std::string_view text(reinterpret_cast<const char *>(contents.data), contents.size);
    Result<GivenSectorKey> written = FromText(text);
    if (written)
        return written;
    GivenSectorKey key;
    if (contents.size == kFileBytes) {
        key._method = static_cast<Method>(U16At(contents, 0));
        if (SectorKeySize(key._method) == 0)
            return Malformed("the file with the key names an " + MethodName(key._method));
        key._key = KeyMaterial(contents.From(2).First(SectorKeySize(key._method)));
        return key;
    }
    if (!IsLengthOfKey(contents.size))
        return Malformed("a file with a key of sectors has 16, 32, 64 or 66 bytes or holds "
                         "hexadecimal digits, and this one has " +
                         std::to_string(contents.size) + " bytes");
    key._key = KeyMaterial(contents);
    return key;
}

Result<KeyMaterial> GivenSectorKey::WithTweakKey(Method method) const
{
    const size_t size = AesKeySize(method);
    if (!IsXts(method) && !IsElephant(method))
        return Malformed(MethodName(method) + " has no tweak key, and this key has one");
    if (_key.Size() != size)
        return Malformed(Takes(method, size, _key.Size()));
    return Arranged(method, _key.View(), _tweakKey.View());
}

Result<KeyMaterial> GivenSectorKey::KeyFor(Method method) const
{
    const size_t size = SectorKeySize(method);
    const ByteView key = _key.View();
    if (!_tweakKey.Empty())
        return WithTweakKey(method);
    // Some tools leave out the gaps between the two keys.
    if (method == Method::kAes128Elephant && key.size == 2 * AesKeySize(method))
        return Arranged(method, key.First(AesKeySize(method)), key.From(AesKeySize(method)));
    const bool isPadded = key.size > size && IsZero(key.From(size));
    if (key.size != size && !isPadded)
        return Malformed(Takes(method, size, key.size));
    return KeyMaterial(key.First(size));
}

std::vector<Method> GivenSectorKey::PossibleMethods() const
{
    std::vector<Method> possible;
    for (const Method method : kMethods)
        if ((_method == Method::kNone || _method == method) && KeyFor(method))
            possible.push_back(method);
    return possible;
}

}  // namespace vx::bitlocker
