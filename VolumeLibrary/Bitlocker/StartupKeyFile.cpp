#include "StartupKeyFile.h"

#include "ByteReader.h"
#include "FileByteSource.h"
#include "MetadataEntries.h"

#include <cerrno>
#include <sys/stat.h>

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
    error.detail = StartupKeyFile::kDetail + path;
    return error;
}

bool IsFifo(const std::string &path)
{
    struct stat status;
    return ::stat(path.c_str(), &status) == 0 && S_ISFIFO(status.st_mode);
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
    // Opening a FIFO would wait for a writer.
    if (IsFifo(path))
        return Unreadable(SystemError(ENOTSUP, "open"), path);
    Result<std::unique_ptr<FileByteSource>> file = FileByteSource::Open(path);
    if (!file)
        return Unreadable(file.Failure(), path);
    if ((*file)->Size() > kLargest)
        return Malformed("the key file is too long");
    KeyMaterial bytes(static_cast<size_t>((*file)->Size()));
    if (Error error = (*file)->ReadAt(0, bytes.Data(), bytes.Size()))
        return Unreadable(error, path);
    return Parse(bytes.View());
}

}  // namespace vx::bitlocker
