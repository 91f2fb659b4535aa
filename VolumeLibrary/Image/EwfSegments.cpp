#include "EwfSegments.h"

#include "Bitlocker/FileByteSource.h"
#include "Little.h"
#include "PartNames.h"
#include "StatusFromDecryptor.h"

#include <cstring>

namespace vx {
namespace {

constexpr uint64_t kFileHeaderBytes = 13;
constexpr uint64_t kSectionHeaderBytes = 76;

// What the last section of a file says about the next file.
enum class Ending { kMoreFollow, kIsLast };

OpenError DamagedFile(const std::string &name)
{
    return {VolumeLibraryStatus::kReadFailed, "the E01 image is damaged in " + name};
}

OpenError CutFile(const std::string &name)
{
    return {VolumeLibraryStatus::kImageTruncated, name + " ends early"};
}

OpenError MissingFile(const std::string &name)
{
    return {VolumeLibraryStatus::kImageTruncated, "its part " + name + " is missing"};
}

// Adler-32, which the format protects a section's header with.
uint32_t ChecksumOf(const uint8_t *bytes, size_t count)
{
    constexpr uint32_t kModulus = 65521;
    uint32_t low = 1;
    uint32_t high = 0;
    for (size_t i = 0; i < count; ++i) {
        low = (low + bytes[i]) % kModulus;
        high = (high + low) % kModulus;
    }
    return high << 16 | low;
}

bool IsNamed(const uint8_t *header, const char *name)
{
    return std::memcmp(header, name, std::strlen(name) + 1) == 0;
}

// Goes along the sections of a file, each of which tells where the next one begins.
OpenError FindEnding(const bitlocker::ByteSource &file, const std::string &name, Ending *ending)
{
    uint64_t at = kFileHeaderBytes;
    while (true) {
        uint8_t header[kSectionHeaderBytes];
        if (at > file.size() || file.size() - at < sizeof header)
            return CutFile(name);
        if (bitlocker::Error error = file.readAt(at, header, sizeof header))
            return FromDecryptor(error);
        constexpr size_t kChecksumAt = sizeof header - 4;
        if (ChecksumOf(header, kChecksumAt) != Little32(header + kChecksumAt))
            return DamagedFile(name);
        const bool isLast = IsNamed(header, "done");
        if (isLast || IsNamed(header, "next")) {
            *ending = isLast ? Ending::kIsLast : Ending::kMoreFollow;
            return {};
        }
        const uint64_t next = Little64(header + 16);
        if (next < at + sizeof header)
            return DamagedFile(name);
        at = next;
    }
}

// number: which of the files it must be.
OpenError CheckSegment(const std::string &path, const std::string &name, size_t number,
                       Ending *ending)
{
    const auto file = bitlocker::FileByteSource::open(path);
    if (!file) {
        OpenError error = FromDecryptor(file.error());
        if (error.status == VolumeLibraryStatus::kPermissionDenied)
            error.detail = "your user may not read its part " + name;
        return error;
    }
    uint8_t header[kFileHeaderBytes];
    if ((*file)->size() < sizeof header)
        return CutFile(name);
    if (bitlocker::Error error = (*file)->readAt(0, header, sizeof header))
        return FromDecryptor(error);
    if (Little16(header + 9) != number)
        return DamagedFile(name);
    return FindEnding(**file, name, ending);
}

// A later file tells its number, and so does its name.
OpenError CheckIsFirst(const PartNames &names)
{
    if (names.Given() == 1)
        return {};
    return {VolumeLibraryStatus::kContainerNotSupported,
            "it is part " + std::to_string(names.Given()) + " of an image; give the first one, " +
                names.Name(1)};
}

}  // namespace

OpenError FindEwfSegments(const std::string &path, std::vector<std::string> *files)
{
    const auto names = PartNames::OfEwf(path);
    if (names) {
        if (OpenError error = CheckIsFirst(*names))
            return error;
    }
    const std::string last = path.substr(path.rfind('/') + 1);
    for (size_t number = 1;; ++number) {
        const std::string file = number == 1 ? path : names->Path(number);
        Ending ending = Ending::kIsLast;
        if (OpenError error =
                CheckSegment(file, number == 1 ? last : names->Name(number), number, &ending))
            return error;
        files->push_back(file);
        if (ending == Ending::kIsLast)
            return {};
        if (!names)
            return {VolumeLibraryStatus::kImageTruncated,
                    "its second part is missing; the name of the first one must end in .E01"};
        if (!names->Exists(number + 1))
            return MissingFile(names->Name(number + 1));
    }
}

}  // namespace vx
