#include "Protector.h"

#include "ByteReader.h"

#include <algorithm>
#include <cstdio>

namespace vx::bitlocker {

namespace {

constexpr uint16_t kNeedsTpm = 0x0100;

// A copy of the secret that the master key opens is of no use for unlocking.
void TakeSecrets(Protector &protector, const MetadataEntry &stretchKey)
{
    const Result<std::vector<MetadataEntry>> entries = ParseEntries(stretchKey.Nested(), 3);
    if (!entries)
        return;
    for (const MetadataEntry &entry : *entries) {
        if (entry.valueType != ValueType::kWrapped)
            continue;
        if (auto wrapped = WrappedKey::Parse(entry.data))
            protector.wrappedSecrets.push_back(std::move(*wrapped));
    }
}

void TakeProperty(Protector &protector, const MetadataEntry &property)
{
    ByteReader reader(property.data);
    reader.Skip(4);  // the kind of the key or of the stretching
    if (property.valueType == ValueType::kWrapped && !protector.wrappedMasterKey)
        protector.wrappedMasterKey = WrappedKey::Parse(property.data);
    if (property.valueType == ValueType::kKey && protector.clearKey.empty())
        protector.clearKey = reader.Rest().Copy();
    if (property.valueType == ValueType::kStretchKey && !protector.salt) {
        const ByteView bytes = reader.Bytes(Salt().size());
        protector.salt.emplace();
        std::copy(bytes.data, bytes.data + bytes.size, protector.salt->begin());
        TakeSecrets(protector, property);
    }
}

std::string TpmKindName(ProtectorKind kind)
{
    switch (kind) {
    case ProtectorKind::kTpm:
        return "TPM";
    case ProtectorKind::kTpmAndPin:
        return "TPM and PIN";
    case ProtectorKind::kTpmAndStartupKey:
        return "TPM and startup key";
    case ProtectorKind::kTpmPinAndStartupKey:
        return "TPM, PIN and startup key";
    default:
        return "TPM and others";
    }
}

}  // namespace

Protector Protector::Parse(const MetadataEntry &entry)
{
    Protector protector;
    ByteReader reader(entry.data);
    protector.identifier = reader.TakeGuid();
    protector.changed = reader.U64();
    reader.Skip(2);
    protector.kind = static_cast<ProtectorKind>(reader.U16());
    const Result<std::vector<MetadataEntry>> properties = ParseEntries(entry.Nested(), 2);
    if (!properties)
        return protector;
    for (const MetadataEntry &property : *properties)
        TakeProperty(protector, property);
    return protector;
}

const char *ProtectorKindToken(ProtectorKind kind)
{
    switch (kind) {
    case ProtectorKind::kClearKey:
        return "clear-key";
    case ProtectorKind::kTpm:
        return "tpm";
    case ProtectorKind::kExternalKey:
        return "startup-key";
    case ProtectorKind::kTpmAndStartupKey:
        return "tpm-and-startup-key";
    case ProtectorKind::kTpmAndPin:
        return "tpm-and-pin";
    case ProtectorKind::kTpmPinAndStartupKey:
        return "tpm-pin-and-startup-key";
    case ProtectorKind::kRecoveryPassword:
        return "recovery-password";
    case ProtectorKind::kSmartCard:
        return "smart-card";
    case ProtectorKind::kPassword:
        return "password";
    }
    return "other";
}

std::string ProtectorKindName(ProtectorKind kind)
{
    switch (kind) {
    case ProtectorKind::kClearKey:
        return "clear key";
    case ProtectorKind::kExternalKey:
        return "startup key";
    case ProtectorKind::kRecoveryPassword:
        return "recovery password";
    case ProtectorKind::kSmartCard:
        return "smart card";
    case ProtectorKind::kPassword:
        return "password";
    default:
        break;
    }
    const unsigned number = static_cast<uint16_t>(kind);
    char text[32];
    std::snprintf(text, sizeof text, " 0x%04x", number);
    if ((number & kNeedsTpm) == 0)
        return std::string("unknown kind") + text;
    return TpmKindName(kind);
}

bool IsStretched(ProtectorKind kind)
{
    return kind == ProtectorKind::kRecoveryPassword || kind == ProtectorKind::kPassword;
}

bool IsSupported(ProtectorKind kind)
{
    return kind == ProtectorKind::kClearKey || kind == ProtectorKind::kExternalKey ||
           IsStretched(kind);
}

std::string ProtectorList(const std::vector<Protector> &protectors)
{
    std::vector<Guid> listed;
    std::string text;
    size_t others = 0;
    for (const Protector &protector : protectors) {
        if (std::find(listed.begin(), listed.end(), protector.identifier) != listed.end())
            continue;
        listed.push_back(protector.identifier);
        if (listed.size() > kMostNamed) {
            ++others;
            continue;
        }
        text += (text.empty() ? "" : ", ") + ProtectorKindName(protector.kind) + " (Key ID " +
                protector.identifier.KeyId() + ")";
    }
    if (others > 0)
        text += " and " + std::to_string(others) + " more";
    return text.empty() ? "none" : text;
}

}  // namespace vx::bitlocker
