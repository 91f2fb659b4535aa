// Where each entry of the volume arrives below the destination: its names from the root down, with
// a backslash read as "/". Three kinds of names change: one that is longer than the file system
// allows is cut, keeps its extension and gets a number; a name of separators only becomes "_"; ""
// and "." between separators are left out.
//
// Ownership: borrows the catalogue. Threads: one at a time; folders that lie above an entry have
// been listed.
#pragma once

#import <Foundation/Foundation.h>

#include <map>
#include <string>
#include <unordered_set>

#import "Z5FileExplorerWapper.h"

namespace vx {

class LocalNames {
public:
    // longestName: in bytes, of one name in the destination.
    LocalNames(Z5FileExplorerWapper *explorer, size_t longestName)
        : _explorer(explorer), _longestName(longestName)
    {
    }

    // The entry's path relative to the destination, the same at every call: "a/b.txt". isChanged:
    // whether a name on the way differs from the one on the volume, apart from backslashes.
    // Empty if a name is not valid text, or would lead out of the destination.
    std::string PathOf(Z5FindData *entry, bool *isChanged);

    size_t LongestName() const { return _longestName; }

private:
    struct Place {
        std::string path;
        bool isChanged = false;
    };

    Place FolderOf(Z5FindData *entry);
    bool Append(Z5FindData *entry, NSString *name, Place *place);
    std::string NameFor(Z5FindData *entry, const std::string &folder, const std::string &name,
                        const std::string &original);
    std::string FreeName(Z5FindData *entry, const std::string &folder, const std::string &name);
    bool IsTakenOnVolume(Z5FindData *entry, const std::string &name);

    Z5FileExplorerWapper *const _explorer;
    const size_t _longestName;
    Z5FindData *_folder = nil;  // of the last entry
    bool _hasFolder = false;
    Place _folderPlace;
    std::map<std::string, std::string> _chosen;  // by folder and original name
    std::unordered_set<std::string> _given;      // what was chosen, with its folder
    std::map<std::string, unsigned> _numbers;    // the last one, by folder and cut name
    Z5FindData *_siblingsFolder = nil;
    bool _hasSiblings = false;
    std::unordered_set<std::string> _siblings;  // those that a chosen name could meet
};

}  // namespace vx
