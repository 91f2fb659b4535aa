#include "StartupKeyFile.h"

#include "ByteReader.h"
#include "KeyFile.h"
#include "MetadataEntries.h"

namespace vx::bitlocker {

namespace {

constexpr size_t kHeaderSize = 48;
constexpr size_t kShortest = 56;
constexpr size_t kKeySize = 32;
constexpr size_t kKeyKindSize = 4;

Error Malformed(const char *detail)
{
    return {Status::kMalformedSecret, detail};
}

// The first key of the right length in the array.
ByteView FindKey(ByteView entries)
{
    const Result<std::vector<MetadataEntry>> properties = ParseEntries(entries, 2);
    if (!properties)
        return {};
    for (const MetadataEntry &property : *properties)
        if (property.valueType == ValueType::kKey && property.data.size == kKeyKindSize + kKeySize)
            return property.data.From(kKeyKindSize);
    return {};
}

// What cannot be read is this file, not the volume.
Error Unreadable(Error error, const std::string &path)
{
    if (error.status == Status::kSystemError)
        error.detail = StartupKeyFile::kDetail + path;
    return error;
}

Result<StartupKeyFile> TakeKey(const std::vector<MetadataEntry> &entries)
{
    for (const MetadataEntry &entry : entries) {
        if (entry.type != EntryType::kExternalKey || entry.valueType != ValueType::kExternalKey)
            continue;
        const ByteView key = FindKey(entry.Nested());
        if (key.size != 0)
            return StartupKeyFile{ByteReader(entry.data).TakeGuid(), KeyMaterial(key)};
    }
    return Malformed("there is no key of 32 bytes in the key file");
}

}  // namespace

Result<StartupKeyFile> StartupKeyFile::Parse(ByteView bytes)
{
    ByteReader reader(bytes);
    const size_t size = reader.U32();
    const uint32_t version = reader.U32();
    const uint32_t headerSize = reader.U32();
    if (bytes.size < kShortest)
        return Malformed("the key file is too short");
    if (version != 1 || headerSize != kHeaderSize)
        return Malformed("this is not a startup key file");
    if (size < kShortest || size > bytes.size)
        return Malformed("the key file was cut off");
    const Result<std::vector<MetadataEntry>> entries =
        ParseEntries(bytes.First(size).From(kHeaderSize));
    if (!entries)
        return Error{Status::kMalformedSecret,
                     "the key file is damaged: " + entries.Failure().detail};
    return TakeKey(*entries);
}

Result<StartupKeyFile> StartupKeyFile::Read(const std::string &path)
{
    const Result<KeyMaterial> bytes = ReadKeyFile(path.c_str(), kLargest);
    if (!bytes)
        return Unreadable(bytes.Failure(), path);
    return Parse(bytes->View());
}

}  // namespace vx::bitlocker
