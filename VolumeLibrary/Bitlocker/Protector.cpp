#include "Protector.h"

#include "ByteReader.h"

#include <algorithm>
#include <cstdio>

namespace vx::bitlocker {

namespace {

constexpr uint16_t kNeedsTpm = 0x0100;

void takeProperty(Protector &protector, const MetadataEntry &property)
{
    ByteReader reader(property.data);
    reader.skip(4);  // the kind of the key or of the stretching
    if (property.valueType == ValueType::Wrapped && !protector.wrappedMasterKey)
        protector.wrappedMasterKey = WrappedKey::parse(property.data);
    if (property.valueType == ValueType::Key && protector.clearKey.empty())
        protector.clearKey = reader.rest().copy();
    if (property.valueType == ValueType::StretchKey && !protector.salt) {
        const ByteView bytes = reader.bytes(Salt().size());
        protector.salt.emplace();
        std::copy(bytes.data, bytes.data + bytes.size, protector.salt->begin());
    }
}

std::string tpmKindName(ProtectorKind kind)
{
    switch (kind) {
    case ProtectorKind::Tpm:
        return "TPM";
    case ProtectorKind::TpmAndPin:
        return "TPM and PIN";
    case ProtectorKind::TpmAndStartupKey:
        return "TPM and startup key";
    case ProtectorKind::TpmPinAndStartupKey:
        return "TPM, PIN and startup key";
    default:
        return "TPM and others";
    }
}

}  // namespace

Protector Protector::parse(const MetadataEntry &entry)
{
    Protector protector;
    ByteReader reader(entry.data);
    protector.identifier = reader.guid();
    reader.skip(8 + 2);  // time of the last change, zeros
    protector.kind = static_cast<ProtectorKind>(reader.u16());
    const Result<std::vector<MetadataEntry>> properties = parseEntries(entry.nested(), 2);
    if (!properties)
        return protector;
    for (const MetadataEntry &property : *properties)
        takeProperty(protector, property);
    return protector;
}

std::string protectorKindName(ProtectorKind kind)
{
    switch (kind) {
    case ProtectorKind::ClearKey:
        return "clear key";
    case ProtectorKind::ExternalKey:
        return "startup key";
    case ProtectorKind::RecoveryPassword:
        return "recovery password";
    case ProtectorKind::SmartCard:
        return "smart card";
    case ProtectorKind::Password:
        return "password";
    default:
        break;
    }
    const unsigned number = static_cast<uint16_t>(kind);
    char text[32];
    std::snprintf(text, sizeof text, " 0x%04x", number);
    if ((number & kNeedsTpm) == 0)
        return std::string("unknown kind") + text;
    return tpmKindName(kind);
}

bool isSupported(ProtectorKind kind)
{
    return kind == ProtectorKind::ClearKey || kind == ProtectorKind::ExternalKey ||
           kind == ProtectorKind::RecoveryPassword || kind == ProtectorKind::Password;
}

std::string protectorKindNames(const std::vector<Protector> &protectors)
{
    std::vector<std::string> names;
    for (const Protector &protector : protectors) {
        const std::string name = protectorKindName(protector.kind);
        if (std::find(names.begin(), names.end(), name) == names.end())
            names.push_back(name);
    }
    std::string text;
    for (const std::string &name : names)
        text += (text.empty() ? "" : ", ") + name;
    return text.empty() ? "none" : text;
}

std::string protectorList(const std::vector<Protector> &protectors)
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
        text += (text.empty() ? "" : ", ") + protectorKindName(protector.kind) + " (Key ID " +
                protector.identifier.keyId() + ")";
    }
    if (others > 0)
        text += " and " + std::to_string(others) + " more";
    return text.empty() ? "none" : text;
}

}  // namespace vx::bitlocker
