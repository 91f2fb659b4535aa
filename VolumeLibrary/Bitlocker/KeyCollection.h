// What files of keys hold: recovery passwords as RecoveryKeyText finds them, and startup keys.
//
// A collection is a file, or a folder whose files, and those of the folders in it, are read in the
// order of their names; deeper folders are not entered. One thread.
#pragma once

#include "CancelFlag.h"
#include "Error.h"
#include "KeyList.h"

#include <string>

namespace vx::bitlocker {

class KeyCollection {
public:
    // Bytes; longer files are passed over in a folder and refused otherwise.
    static constexpr size_t kLargestInFolder = size_t{1} << 20;
    static constexpr size_t kLargestAlone = size_t{16} << 20;
    // Of a folder no more than these are read.
    static constexpr size_t kMostFiles = 10000;
    static constexpr size_t kMostBytes = size_t{256} << 20;

    // A file of keys, longer than largest or not. Errors: kSystemError, kMalformedSecret.
    static Result<KeyCollection> FromFile(const char *path, size_t largest);
    // A file or a folder. wanted: the protectors that are to be opened; where there are more files
    // or keys than are read, those that name one of them count first. Errors: as before;
    // kCancelled.
    static Result<KeyCollection> FromPath(const char *path, const CancelFlag *cancel,
                                          const std::vector<Guid> &wanted = {});

    // name: of the file.
    void Add(ByteView file, const std::string &name);

    const KeyList &Keys() const { return _keys; }
    KeyList TakeKeys() { return std::move(_keys); }
    // Whether there were more files or keys than are read.
    bool IsCut() const { return _isCut || _keys.LeftOut() > 0; }
    // What could not be used, in words; empty if there is nothing. Never with digits of a key.
    std::string Problems() const;

private:
    // Which files of a folder are added: those whose name has the identifier of a wanted protector,
    // those of them that lie in folders of it, or what is left.
    enum class Files { kNamed, kNamedInFolders, kOthers };

    Error AddFile(const std::string &path, size_t largest);
    // Those that name a wanted protector, then the others.
    Error AddFiles(const std::string &folder, const CancelFlag *cancel);
    Error AddFolder(const std::string &folder, Files files, bool entersFolders,
                    const CancelFlag *cancel);
    void AddFromFolder(const std::string &path, const std::string &name);

    KeyList _keys;
    std::vector<Guid> _wanted;
    size_t _files = 0;
    size_t _bytes = 0;
    size_t _notRead = 0;
    bool _isCut = false;
    size_t _mistyped = 0;
    std::string _firstMistake;
};

}  // namespace vx::bitlocker
