#include "RecoveryPasswords.h"

#include "ByteReader.h"

#include <algorithm>
#include <cstdio>
#include <openssl/crypto.h>

namespace vx::bitlocker {

namespace {

constexpr size_t kKeyBytes = 16;
constexpr size_t kGroups = 8;
constexpr size_t kGroupSigns = 7;  // six digits, and a dash or the zero at the end
constexpr uint32_t kQuotient = 11;

// The one of this length; the other one is what it is stretched to.
std::optional<KeyMaterial> PasswordIn(const Protector &protector, ByteView masterKey)
{
    for (const WrappedKey &wrapped : protector.wrappedSecrets) {
        std::optional<KeyMaterial> key = wrapped.Unwrap(masterKey);
        if (key && key->Size() == kKeyBytes)
            return key;
    }
    return std::nullopt;
}

void WriteText(ByteView key, KeyMaterial *text)
{
    char *place = reinterpret_cast<char *>(text->Data());
    for (size_t group = 0; group < kGroups; ++group) {
        uint32_t number = U16At(key, 2 * group) * kQuotient;
        for (size_t digit = kGroupSigns - 1; digit > 0; --digit) {
            place[digit - 1] = static_cast<char>('0' + number % 10);
            number /= 10;
        }
        place += kGroupSigns;
        place[-1] = group + 1 < kGroups ? '-' : '\0';
    }
}

}  // namespace

RecoveryPasswords::RecoveryPasswords(const std::vector<Protector> &protectors, ByteView masterKey)
{
    const auto count = std::count_if(protectors.begin(), protectors.end(), [](const Protector &p) {
        return p.kind == ProtectorKind::kRecoveryPassword;
    });
    const size_t kept = std::min(static_cast<size_t>(count), kMost);
    _areAll = kept == static_cast<size_t>(count);
    _keys = KeyMaterial(kept * kKeyBytes);
    for (const Protector &protector : protectors) {
        if (protector.kind == ProtectorKind::kRecoveryPassword && _protectors.size() < kept)
            Take(protector, masterKey);
    }
}

void RecoveryPasswords::Take(const Protector &protector, ByteView masterKey)
{
    const std::optional<KeyMaterial> key = PasswordIn(protector, masterKey);
    if (!key) {
        _areAll = false;
        return;
    }
    if (Has(protector.identifier, key->View()))
        return;
    std::copy(key->Data(), key->Data() + kKeyBytes, _keys.Data() + _protectors.size() * kKeyBytes);
    _protectors.push_back(protector.identifier);
}

ByteView RecoveryPasswords::KeyAt(size_t index) const
{
    return _keys.View().From(index * kKeyBytes).First(kKeyBytes);
}

bool RecoveryPasswords::Has(const Guid &protector, ByteView key) const
{
    for (size_t i = 0; i < _protectors.size(); ++i) {
        if (_protectors[i] == protector && CRYPTO_memcmp(KeyAt(i).data, key.data, kKeyBytes) == 0)
            return true;
    }
    return false;
}

bool RecoveryPasswords::Visit(VolumeRecoveryPasswordFunction password, void *context) const
{
    for (size_t i = 0; i < _protectors.size(); ++i) {
        KeyMaterial text(kGroups * kGroupSigns);
        WriteText(KeyAt(i), &text);
        password(context, _protectors[i].Capitals().c_str(),
                 reinterpret_cast<const char *>(text.Data()));
    }
    return _areAll;
}

}  // namespace vx::bitlocker
