#include "FileSystemImage.h"

#include "ExfatTreeWriter.h"
#include "MarkedBytes.h"
#include "PlaceInFat.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <stdexcept>

namespace vx {
namespace {

using Kind = FileSystemImage::Kind;

constexpr uint64_t kNtfsClusterBytes = 4096;
constexpr uint64_t kUnitClusters = 16;  // that are compressed together
constexpr uint64_t kRecordBytes = 1024;
constexpr uint64_t kBlockBytes = 4096;  // of an index

void Require(bool done, const std::string &what)
{
    if (!done)
        throw std::runtime_error("cannot make " + what);
}

// The ASCII text in UTF-16, little-endian.
std::string Wide(const std::string &text)
{
    std::string wide;
    for (const char c : text) {
        wide += c;
        wide += '\0';
    }
    return wide;
}

std::string NameOf(const std::string &path)
{
    return path.substr(path.rfind('/') + 1);
}

uint32_t Number32(const std::string &bytes, size_t at)
{
    uint32_t value = 0;
    std::memcpy(&value, bytes.data() + at, sizeof value);
    return value;
}

std::string OutputOf(const std::string &line)
{
    FILE *output = popen(("PATH=\"$PATH:/usr/sbin:/sbin\"; " + line).c_str(), "r");
    std::string text;
    char chunk[4096];
    while (output != nullptr && std::fgets(chunk, sizeof chunk, output) != nullptr)
        text += chunk;
    Require(output != nullptr && pclose(output) == 0, line);
    return text;
}

// A file is compressed if its folder says so when it is made, and stays so where it is moved.
std::string PackingLine(const std::string &from, const std::string &to)
{
    return "mkdir packing && setfattr -h -v 0x00000800 -n system.ntfs_attrib_be packing && cat " +
           from + " > packing/file && mv packing/file " + to + " && rmdir packing";
}

}  // namespace

bool FileSystemImage::CanMake(Kind kind)
{
    switch (kind) {
    case Kind::kNtfs:
        return CanMountNtfs() && HasProgram("setfattr") && HasProgram("ntfsinfo");
    case Kind::kFat16:
    case Kind::kFat32:
        return HasProgram("mkfs.fat") && HasProgram("mcopy");
    case Kind::kExfat:
        return HasProgram("mkfs.exfat");
    }
    return false;
}

FileSystemImage::FileSystemImage(Kind kind, bool withNames)
    : _tree(withNames ? MakeTreeOfNames(kind == Kind::kNtfs) : MakeRescueTree(kind == Kind::kNtfs))
{
    switch (kind) {
    case Kind::kNtfs:
        MakeNtfs();
        break;
    case Kind::kFat16:
        MakeFat("-F 16 -s 4", 32);
        break;
    case Kind::kFat32:
        MakeFat("-F 32 -s 1", 40);
        break;
    case Kind::kExfat:
        MakeExfat();
        break;
    }
    if (!withNames)
        Survey(kind);
}

// The files wait under numbers: this machine may not have names that long.
void FileSystemImage::MakeNtfs()
{
    std::stringstream fill;
    fill << ":";
    for (const RescueFile &file : _tree) {
        const std::string from =
            _image.Folder().WriteFile("tree/" + std::to_string(file.number), file.Contents());
        const std::string to = Quoted(file.path.substr(1));
        fill << " && mkdir -p " << Quoted("." + file.path.substr(0, file.path.rfind('/')));
        if (file.kind == RescueFile::Kind::kCompressed)
            fill << " && " << PackingLine(from, to);
        else if (file.kind == RescueFile::Kind::kSparse)
            fill << " && cp --sparse=always " << from << " " << to;
        else
            fill << " && cat " << from << " > " << to;
    }
    Require(_image.MakeNtfs(40, "-c 4096") && _image.RunInNtfs(fill.str()) &&
                RunShell("rm -r " + Quoted(_image.At("tree"))),
            "an NTFS image");
}

void FileSystemImage::MakeFat(const std::string &options, int mebibytes)
{
    TestTree files;
    for (const RescueFile &file : _tree)
        files.emplace(file.path.substr(1), file.Contents());
    Require(_image.MakeFat(mebibytes, options) && _image.FillFat(files) &&
                RunShell("rm -r " + Quoted(_image.At("tree"))),
            "a FAT image");
}

void FileSystemImage::MakeExfat()
{
    _image.Folder().MakeSparseFile("image", 48 << 20);
    Require(RunShell("mkfs.exfat -c 32K " + Quoted(_image.Path())), "an exFAT image");
    ExfatTreeWriter writer(_image.Folder().ReadFile("image"));
    for (const RescueFile &file : _tree)
        writer.Add(file.path, file.Contents(), file.path == kLarge);
    _image.Folder().WriteFile("image", writer.Image());
}

void FileSystemImage::Survey(Kind kind)
{
    const std::string bytes = _image.Folder().ReadFile("image");
    FindMarks(bytes);
    _landmarks["boot"] = 0;
    if (kind == Kind::kNtfs) {
        FindPacked();
        FindNtfsEntries(bytes);
    } else {
        FindEntries(kind, bytes);
        FindTable(kind, bytes);
    }
    Require(_landmarks.count("entry") == 1, "an image in which the entry is found");
}

void FileSystemImage::FindMarks(const std::string &bytes)
{
    for (size_t place = 0; place + kMarkBytes <= bytes.size(); place += kSectorBytes) {
        const auto mark = MarkIn(std::string_view(bytes).substr(place, kMarkBytes));
        if (!mark || mark->file == 0 || mark->file > _tree.size() ||
            mark->offset % kSectorBytes != 0)
            continue;
        const uint64_t end = std::min(mark->offset + kSectorBytes, _tree[mark->file - 1].size);
        _sectors.push_back({place, mark->file, mark->offset, end});
    }
}

// Of a compressed file each cluster is needed for the whole unit that it belongs to.
void FileSystemImage::FindPacked()
{
    const RescueFile &packed = *FileAt(_tree, kPacked);
    std::stringstream lines(
        OutputOf("ntfsinfo -f -v -F " + packed.path.substr(1) + " " + Quoted(_image.Path())));
    std::string line;
    while (std::getline(lines, line) && line.find("attribute $DATA") == std::string::npos) {
    }
    bool isCompressed = false;
    uint64_t stored = 0;
    while (std::getline(lines, line)) {
        isCompressed |= line.find("Attribute flags:\t 0x0001") != std::string::npos;
        unsigned long long first = 0;
        unsigned long long cluster = 0;
        unsigned long long count = 0;
        if (std::sscanf(line.c_str(), " 0x%llx 0x%llx 0x%llx", &first, &cluster, &count) != 3)
            continue;
        const uint64_t unit = first / kUnitClusters * kUnitClusters * kNtfsClusterBytes;
        const uint64_t end = std::min(unit + kUnitClusters * kNtfsClusterBytes, packed.size);
        const uint64_t sectors = count * kNtfsClusterBytes / kSectorBytes;
        stored += count * kNtfsClusterBytes;
        for (uint64_t i = 0; i < sectors; ++i)
            _sectors.push_back(
                {cluster * kNtfsClusterBytes + i * kSectorBytes, packed.number, unit, end});
    }
    Require(isCompressed && stored > 0 && stored < packed.size, "a compressed file");
}

void FileSystemImage::FindEntries(Kind kind, const std::string &bytes)
{
    const std::string name = kind == Kind::kExfat ? Wide("VICTIM.BIN") : "VICTIM  BIN";
    const size_t at = bytes.find(name);
    if (at != std::string::npos)
        _landmarks["entry"] = at / kSectorBytes * kSectorBytes;
}

void FileSystemImage::FindNtfsEntries(const std::string &bytes)
{
    const std::string name = Wide(NameOf(kVictim));
    for (size_t at = bytes.find(name); at != std::string::npos; at = bytes.find(name, at + 1)) {
        const size_t record = at / kRecordBytes * kRecordBytes;
        const size_t block = at / kBlockBytes * kBlockBytes;
        if (bytes.compare(record, 4, "FILE") == 0)
            _landmarks["record"] = record;
        // After the used part of the block lie entries that have moved away.
        if (bytes.compare(block, 4, "INDX") == 0 && at - block < 24 + Number32(bytes, block + 28))
            _landmarks["entry"] = at / kSectorBytes * kSectorBytes;
    }
}

// What follows the middle of the large file.
void FileSystemImage::FindTable(Kind kind, const std::string &bytes)
{
    const RescueFile &large = *FileAt(_tree, kLarge);
    const FatWidth width = kind == Kind::kExfat   ? FatWidth::kExfat
                           : kind == Kind::kFat32 ? FatWidth::k32
                                                  : FatWidth::k16;
    for (const OwnedSector &sector : _sectors) {
        if (sector.file == large.number && sector.from == large.size / 2)
            _landmarks["table"] = PlaceInTable(width, bytes.substr(0, kSectorBytes), sector.place) /
                                  kSectorBytes * kSectorBytes;
    }
}

}  // namespace vx
