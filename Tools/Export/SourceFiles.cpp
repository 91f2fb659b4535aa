#include "SourceFiles.h"

#include "PathText.h"
#include "TerminalText.h"

#include <cctype>
#include <cstdlib>
#include <dirent.h>
#include <fstream>
#include <memory>
#include <unistd.h>

namespace vx {
namespace {

// A descriptor is a text that begins so; the names of the parts stand in quotation marks.
constexpr char kDescriptorStart = '#';
constexpr size_t kLongestDescriptor = 65536;
// Of a folder of keys the files in its folders are read, too.
constexpr int kDepthOfKeys = 2;

struct CloseFolder {
    void operator()(DIR *folder) const { closedir(folder); }
};
using Folder = std::unique_ptr<DIR, CloseFolder>;

bool IsFile(const std::string &path)
{
    struct stat found;
    return stat(path.c_str(), &found) == 0 && S_ISREG(found.st_mode);
}

struct NameParts {
    std::string stem;
    std::string extension;  // without its "."
};

// "/a/disk.E01" → "disk", "E01"
NameParts PartsOf(const std::string &path)
{
    const std::string name = SplitPath(path).name;
    const size_t dot = name.rfind('.');
    if (dot == std::string::npos || dot == 0)
        return {name, ""};
    return {name.substr(0, dot), name.substr(dot + 1)};
}

// "E01" and "EAA", "001" and "002"
bool AreOfOneSeries(const std::string &first, const std::string &other)
{
    if (first.empty() || other.size() != first.size() || isdigit(first.back()) == 0)
        return false;
    const bool isNumber = isdigit(first[0]) != 0;
    return isNumber ? isdigit(other[0]) != 0 : tolower(first[0]) == tolower(other[0]);
}

// "disk.E01" and "disk.E02", "disk.vmdk" and "disk-s001.vmdk"
bool IsPartOf(const NameParts &image, const NameParts &other)
{
    if (other.stem == image.stem)
        return AreOfOneSeries(image.extension, other.extension);
    return other.extension == image.extension && other.stem.rfind(image.stem + "-", 0) == 0;
}

}  // namespace

std::string SourceFiles::ImageOf(const std::string &volume)
{
    const size_t mark = volume.find_last_of("#@");
    struct stat found;
    const bool isThere = lstat(volume.c_str(), &found) == 0;
    return isThere || mark == std::string::npos ? volume : volume.substr(0, mark);
}

bool SourceFiles::MayReplace(const std::string &path, std::string *error) const
{
    struct stat found;
    if (lstat(path.c_str(), &found) != 0)
        return true;
    if (S_ISREG(found.st_mode) && !Holds(found))
        return true;
    *error =
        TerminalText(path) + (S_ISREG(found.st_mode) ? " is read by this export and is not replaced"
                                                     : " is no ordinary file and is not replaced");
    return false;
}

SourceFiles::SourceFiles(const std::string &volume, const std::vector<std::string> &keys)
{
    const std::string image = ImageOf(volume);
    if (IsFile(image)) {
        AddFile(image);
        AddParts(image);
        AddNamedBy(image);
    }
    for (const std::string &path : keys)
        AddKeys(path, kDepthOfKeys);
    AddOpenFiles();
}

void SourceFiles::AddKeys(const std::string &path, int depth)
{
    AddFile(path);
    const Folder folder(depth == 0 ? nullptr : opendir(path.c_str()));
    while (const dirent *entry = folder == nullptr ? nullptr : readdir(folder.get())) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..")
            AddKeys(std::string(path).append("/").append(name), depth - 1);
    }
}

void SourceFiles::AddFile(const std::string &path)
{
    struct stat found;
    if (stat(path.c_str(), &found) == 0 && S_ISREG(found.st_mode))
        _files.insert(IdentityOf(found));
}

void SourceFiles::AddParts(const std::string &image)
{
    const NameParts parts = PartsOf(image);
    const Folder folder(opendir(FolderOf(image).c_str()));
    while (const dirent *entry = folder == nullptr ? nullptr : readdir(folder.get())) {
        if (IsPartOf(parts, PartsOf(entry->d_name)))
            AddFile(FolderOf(image) + "/" + entry->d_name);
    }
}

void SourceFiles::AddNamedBy(const std::string &descriptor)
{
    std::ifstream file(descriptor, std::ios::binary);
    std::string text(kLongestDescriptor, '\0');
    file.read(&text[0], kLongestDescriptor);
    text.resize(static_cast<size_t>(file.gcount()));
    if (text.empty() || text[0] != kDescriptorStart)
        return;
    size_t start = text.find('"');
    while (start != std::string::npos) {
        const size_t end = text.find('"', start + 1);
        if (end == std::string::npos)
            return;
        const std::string name = text.substr(start + 1, end - start - 1);
        if (!name.empty() && name.find('\n') == std::string::npos)
            AddFile(name[0] == '/' ? name : FolderOf(descriptor) + "/" + name);
        start = text.find('"', end + 1);
    }
}

void SourceFiles::AddOpenFiles()
{
    const Folder descriptors(opendir("/dev/fd"));
    while (const dirent *entry = descriptors == nullptr ? nullptr : readdir(descriptors.get())) {
        struct stat found;
        if (entry->d_name[0] != '.' && fstat(atoi(entry->d_name), &found) == 0 &&
            S_ISREG(found.st_mode))
            _files.insert(IdentityOf(found));
    }
}

bool SourceFiles::Holds(const struct stat &file) const
{
    return _files.count(IdentityOf(file)) != 0;
}

}  // namespace vx
