#include "VmdkFiles.h"

#include "Bitlocker/FileByteSource.h"
#include "StatusFromDecryptor.h"
#include "VmdkTables.h"

#include <algorithm>
#include <cerrno>
#include <sstream>
#include <sys/stat.h>

namespace vx {
namespace {

constexpr uint64_t kSector = 512;

// A file of the image as its text names it.
struct Part {
    std::string name;
    bool grows = false;
    uint64_t end = 0;  // sectors that one of fixed size must have
};

// A line like: RW 16384 FLAT "disk-flat.vmdk" 0
bool ParsePart(const std::string &line, Part *part)
{
    constexpr uint64_t kMostSectors = uint64_t{1} << 42;
    std::istringstream words(line);
    std::string access;
    std::string kind;
    uint64_t sectors = 0;
    if (!(words >> access >> sectors >> kind) ||
        (access != "RW" && access != "RDONLY" && access != "NOACCESS"))
        return false;
    const size_t begin = line.find('"');
    const size_t end = line.rfind('"');
    const bool isKnown = kind == "SPARSE" || kind == "FLAT" || kind == "VMFS";
    if (!isKnown || begin == end)
        return false;
    part->name = line.substr(begin + 1, end - begin - 1);
    part->grows = kind == "SPARSE";
    uint64_t first = 0;
    std::istringstream(line.substr(end + 1)) >> first;
    part->end = std::min(sectors, kMostSectors) + std::min(first, kMostSectors);
    return true;
}

OpenError Cut(const std::string &name)
{
    return {VolumeLibraryStatus::kImageTruncated, name + " ends early"};
}

OpenError CheckGrowing(const std::string &name, const bitlocker::ByteSource &file,
                       std::vector<std::string> *notes)
{
    VmdkShortfall shortfall;
    if (bitlocker::Error error = FindVmdkShortfall(file, &shortfall))
        return FromDecryptor(error);
    if (shortfall.isOfTables || (shortfall.isPacked && shortfall.missingBytes > 0))
        return Cut(name);
    if (shortfall.missingBytes > 0)
        notes->push_back(name + " ends early; " + std::to_string(shortfall.missingBytes) +
                         " bytes of the disk cannot be read");
    return {};
}

OpenError CheckPart(const std::string &folder, const Part &part, std::vector<std::string> *notes)
{
    const std::string path = folder + part.name;
    struct stat found;
    if (stat(path.c_str(), &found) != 0) {
        if (errno == ENOENT)
            return {VolumeLibraryStatus::kImageTruncated, "its part " + part.name + " is missing"};
        return {};
    }
    if (!S_ISREG(found.st_mode))
        return {};
    const auto file = bitlocker::FileByteSource::open(path);
    if (!file) {
        OpenError error = FromDecryptor(file.error());
        if (error.status == VolumeLibraryStatus::kPermissionDenied)
            error.detail = "your user may not read its part " + part.name;
        return error;
    }
    if (part.grows)
        return CheckGrowing(part.name, **file, notes);
    return (*file)->size() / kSector < part.end ? Cut(part.name) : OpenError{};
}

OpenError CheckParts(const std::string &folder, const bitlocker::ByteSource &text,
                     std::vector<std::string> *notes)
{
    constexpr uint64_t kLongestText = uint64_t{1} << 20;
    std::string bytes(static_cast<size_t>(std::min(text.size(), kLongestText)), '\0');
    if (bitlocker::Error error = text.readAt(0, bytes.data(), bytes.size()))
        return FromDecryptor(error);
    std::istringstream lines(bytes);
    for (std::string line; std::getline(lines, line);) {
        Part part;
        // A part that lies elsewhere is no business of this image.
        if (!ParsePart(line, &part) || part.name.find('/') != part.name.npos)
            continue;
        if (OpenError error = CheckPart(folder, part, notes))
            return error;
    }
    return {};
}

}  // namespace

OpenError CheckVmdkFiles(const std::string &path, const bitlocker::ByteSource &image,
                         std::vector<std::string> *notes)
{
    const size_t name = path.rfind('/') + 1;  // 0 without any
    uint8_t head[4] = {};
    if (bitlocker::Error error = image.readAt(
            0, head, static_cast<size_t>(std::min<uint64_t>(sizeof head, image.size()))))
        return FromDecryptor(error);
    if (IsVmdkThatGrows({head, sizeof head}))
        return CheckGrowing(path.substr(name), image, notes);
    return CheckParts(path.substr(0, name), image, notes);
}

}  // namespace vx
