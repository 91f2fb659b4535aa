#include "KeyCollection.h"

#include "KeyFile.h"
#include "RecoveryKeyText.h"
#include "StartupKeyFile.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <memory>
#include <sys/stat.h>

namespace vx::bitlocker {
namespace {

bool IsFolder(const char *path)
{
    struct stat status;
    return ::stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

struct FolderCloser {
    void operator()(DIR *folder) const { ::closedir(folder); }
};

std::string PathIn(const std::string &folder, const std::string &name)
{
    return folder + "/" + name;
}

bool NamesOne(const std::string &name, const std::vector<Guid> &wanted)
{
    const std::vector<Guid> named = IdentifiersInName(name);
    return std::find_first_of(named.begin(), named.end(), wanted.begin(), wanted.end()) !=
           named.end();
}

bool IsFolder(const std::string &folder, const dirent &entry)
{
    if (entry.d_type != DT_LNK && entry.d_type != DT_UNKNOWN)
        return entry.d_type == DT_DIR;
    return IsFolder(PathIn(folder, entry.d_name).c_str());
}

struct Names {
    std::vector<std::string> names;
    bool isCut = false;     // there are more
    bool isBroken = false;  // the others could not be read
};

// Of a folder the first names, in order, of those that isTaken accepts; no more than limit.
template <typename IsTaken>
Result<Names> NamesIn(const std::string &folder, size_t limit, IsTaken isTaken)
{
    const std::unique_ptr<DIR, FolderCloser> open(::opendir(folder.c_str()));
    if (open == nullptr)
        return Error{Status::kSystemError, "", errno};
    Names found;
    const dirent *entry;
    while ((errno = 0, entry = ::readdir(open.get())) != nullptr) {
        const std::string name = entry->d_name;
        if (name == "." || name == ".." || !isTaken(name, IsFolder(folder, *entry)))
            continue;
        found.names.push_back(name);
        std::push_heap(found.names.begin(), found.names.end());
        if (found.names.size() <= limit)
            continue;
        found.isCut = true;
        std::pop_heap(found.names.begin(), found.names.end());
        found.names.pop_back();
    }
    found.isBroken = errno != 0;
    std::sort_heap(found.names.begin(), found.names.end());
    return found;
}

// Fit for a message of one line.
std::string Printable(std::string name)
{
    std::replace_if(
        name.begin(), name.end(),
        [](char sign) { return static_cast<unsigned char>(sign) < 0x20 || sign == 0x7f; }, '?');
    return name;
}

}  // namespace

void KeyCollection::Add(ByteView file, const std::string &name)
{
    ++_files;
    const Result<StartupKeyFile> startupKey = file.size <= StartupKeyFile::kLargest
                                                  ? StartupKeyFile::Parse(file)
                                                  : Result<StartupKeyFile>(Error{});
    if (startupKey) {
        _keys.Add(ProtectorKind::kExternalKey, startupKey->key.View(), {startupKey->identifier});
        return;
    }
    const RecoveryKeyText text = RecoveryKeyText::Find(file, &_keys, IdentifiersInName(name));
    if (text.mistyped > 0 && _mistyped == 0)
        _firstMistake = "in " + Printable(name) + ", " + text.firstMistake;
    _mistyped += text.mistyped;
}

Result<KeyCollection> KeyCollection::FromFile(const char *path, size_t largest)
{
    KeyCollection collection;
    if (Error error = collection.AddFile(path, largest))
        return error;
    collection._keys.MergeEqual();
    return collection;
}

Error KeyCollection::AddFile(const std::string &path, size_t largest)
{
    const Result<KeyMaterial> bytes = ReadKeyFile(path.c_str(), largest);
    if (!bytes)
        return bytes.Failure();
    Add(bytes->View(), path.substr(path.rfind('/') + 1));
    return {};
}

Result<KeyCollection> KeyCollection::FromPath(const char *path, const CancelFlag *cancel,
                                              const std::vector<Guid> &wanted)
{
    KeyCollection collection;
    collection._wanted = wanted;
    collection._keys.SetWanted(wanted);
    Error error = IsFolder(path) ? collection.AddFiles(path, cancel)
                                 : collection.AddFile(path, kLargestAlone);
    if (error)
        return error;
    collection._keys.MergeEqual();
    return collection;
}

Error KeyCollection::AddFiles(const std::string &folder, const CancelFlag *cancel)
{
    Error error;
    if (!_wanted.empty())
        error = AddFolder(folder, Files::kNamed, false, cancel);
    if (!_wanted.empty() && !error)
        error = AddFolder(folder, Files::kNamedInFolders, true, cancel);
    return error ? error : AddFolder(folder, Files::kOthers, true, cancel);
}

Error KeyCollection::AddFolder(const std::string &folder, Files files, bool entersFolders,
                               const CancelFlag *cancel)
{
    const Result<Names> found =
        NamesIn(folder, kMostFiles, [&](const std::string &name, bool isFolder) {
            if (isFolder || files == Files::kNamedInFolders)
                return isFolder && entersFolders;
            return NamesOne(name, _wanted) == (files == Files::kNamed);
        });
    if (!found)
        return found.Failure();
    _isCut = _isCut || found->isCut;
    _notRead += found->isBroken && files == Files::kOthers ? 1 : 0;
    for (const std::string &name : found->names) {
        const std::string path = PathIn(folder, name);
        if (IsCancelled(cancel))
            return {Status::kCancelled, ""};
        if (_files + _notRead >= kMostFiles || _bytes >= kMostBytes) {
            _isCut = true;
            return {};
        }
        if (!IsFolder(path.c_str()))
            AddFromFolder(path, name);
        else if (entersFolders) {
            const Files within = files == Files::kNamedInFolders ? Files::kNamed : files;
            Error error = AddFolder(path, within, false, cancel);
            if (error.status == Status::kCancelled)
                return error;
            _notRead += error && files == Files::kOthers ? 1 : 0;
        }
    }
    return {};
}

// What cannot be read is counted; the others may have the key.
void KeyCollection::AddFromFolder(const std::string &path, const std::string &name)
{
    const Result<KeyMaterial> bytes = ReadKeyFile(path.c_str(), kLargestInFolder);
    if (!bytes) {
        ++_notRead;
        return;
    }
    _bytes += bytes->Size();
    Add(bytes->View(), name);
}

std::string KeyCollection::Problems() const
{
    std::vector<std::string> sentences;
    if (_mistyped > 0)
        sentences.push_back(std::to_string(_mistyped) +
                            (_mistyped == 1 ? " recovery password is" : " recovery passwords are") +
                            " mistyped: " + _firstMistake);
    if (_notRead > 0)
        sentences.push_back(std::to_string(_notRead) + (_notRead == 1 ? " file" : " files") +
                            " could not be read or had more than 1 MiB");
    if (IsCut())
        sentences.push_back("there are more files or keys than are read");
    std::string text;
    for (const std::string &sentence : sentences)
        text += (text.empty() ? "" : "; ") + sentence;
    return text;
}

}  // namespace vx::bitlocker
