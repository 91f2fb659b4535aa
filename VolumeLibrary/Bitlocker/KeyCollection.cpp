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

// Those that name a wanted protector, then the others, each in order; of both no more than
// limit + 1.
Result<std::vector<std::string>> NamesIn(const std::string &folder, size_t limit,
                                         const std::vector<Guid> &wanted)
{
    const std::unique_ptr<DIR, FolderCloser> open(::opendir(folder.c_str()));
    if (open == nullptr)
        return Error{Status::kSystemError, "", errno};
    std::vector<std::string> first;
    std::vector<std::string> others;
    while (const dirent *entry = ::readdir(open.get())) {
        const std::string name = entry->d_name;
        if (name == "." || name == "..")
            continue;
        std::vector<std::string> &names = NamesOne(name, wanted) ? first : others;
        if (names.size() <= limit)
            names.push_back(name);
    }
    std::sort(first.begin(), first.end());
    std::sort(others.begin(), others.end());
    first.insert(first.end(), others.begin(), others.end());
    return first;
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
    Error error = IsFolder(path) ? collection.AddFolder(path, true, cancel)
                                 : collection.AddFile(path, kLargestAlone);
    if (error)
        return error;
    collection._keys.MergeEqual();
    return collection;
}

Error KeyCollection::AddFolder(const std::string &folder, bool entersFolders,
                               const CancelFlag *cancel)
{
    const Result<std::vector<std::string>> names = NamesIn(folder, kMostFiles, _wanted);
    if (!names)
        return names.Failure();
    for (const std::string &name : *names) {
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
            Error error = AddFolder(path, false, cancel);
            if (error.status == Status::kCancelled)
                return error;
            _notRead += error ? 1 : 0;
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
