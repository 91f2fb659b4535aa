#include "StartupKeyFile.h"

#include "ByteReader.h"
#include "FileByteSource.h"
#include "MetadataEntries.h"
#include "VolumeLibraryStatus.h"

#include <cerrno>
#include <sys/stat.h>

namespace vx::bitlocker {

namespace {

constexpr size_t kHeaderSize = 48;
constexpr size_t kShortest = 56;
constexpr size_t kKeySize = 32;
constexpr size_t kKeyKindSize = 4;

Error malformed(const char *detail)
{
    return {Status::MalformedSecret, detail};
}

// The first key of the right length in the array.
ByteView findKey(ByteView entries)
{
    const Result<std::vector<MetadataEntry>> properties = parseEntries(entries, 2);
    if (!properties)
        return {};
    for (const MetadataEntry &property : *properties)
        if (property.valueType == ValueType::Key && property.data.size == kKeyKindSize + kKeySize)
            return property.data.from(kKeyKindSize);
    return {};
}

// What cannot be read is this file, not the volume.
Error unreadable(Error error, const std::string &path)
{
    error.detail = kStartupKeyFileDetail + path;
    return error;
}

bool isFifo(const std::string &path)
{
    struct stat status;
    return ::stat(path.c_str(), &status) == 0 && S_ISFIFO(status.st_mode);
}

Result<StartupKeyFile> takeKey(const std::vector<MetadataEntry> &entries)
{
    for (const MetadataEntry &entry : entries) {
        if (entry.type != EntryType::ExternalKey || entry.valueType != ValueType::ExternalKey)
            continue;
        const ByteView key = findKey(entry.nested());
        if (key.size != 0)
            return StartupKeyFile{ByteReader(entry.data).guid(), KeyMaterial(key)};
    }
    return malformed("there is no key of 32 bytes in the key file");
}

}  // namespace

Result<StartupKeyFile> StartupKeyFile::parse(ByteView bytes)
{
    ByteReader reader(bytes);
    const size_t size = reader.u32();
    const uint32_t version = reader.u32();
    const uint32_t headerSize = reader.u32();
    if (bytes.size < kShortest)
        return malformed("the key file is too short");
    if (version != 1 || headerSize != kHeaderSize)
        return malformed("this is no startup key file");
    if (size < kShortest || size > bytes.size)
        return malformed("the key file was cut off");
    const Result<std::vector<MetadataEntry>> entries =
        parseEntries(bytes.first(size).from(kHeaderSize));
    if (!entries)
        return Error{Status::MalformedSecret, "the key file is damaged: " + entries.error().detail};
    return takeKey(*entries);
}

Result<StartupKeyFile> StartupKeyFile::read(const std::string &path)
{
    // A FIFO must not even be opened: that would wait for somebody to write.
    if (isFifo(path))
        return unreadable(systemError(ENOTSUP, "open"), path);
    Result<std::unique_ptr<FileByteSource>> file = FileByteSource::open(path);
    if (!file)
        return unreadable(file.error(), path);
    if ((*file)->size() > kLargest)
        return malformed("the key file is too long");
    KeyMaterial bytes(static_cast<size_t>((*file)->size()));
    if (Error error = (*file)->readAt(0, bytes.data(), bytes.size()))
        return unreadable(error, path);
    return parse(bytes.view());
}

}  // namespace vx::bitlocker
