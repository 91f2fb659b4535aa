// Whether the disk of the destination has room for what is exported.
//
// Ownership: borrows all that it is made with. Threads: main.
#pragma once

#import <Foundation/Foundation.h>

#include <string>

#include "DestinationTree.h"
#include "FreeSpace.h"
#import "LocalNames.h"
#import "VolumeSession.h"

namespace vx {

class RoomCheck {
public:
    RoomCheck(const VolumeSession &session, const DestinationTree &tree, LocalNames &names)
        : _session(session), _tree(tree), _names(names)
    {
    }

    // files: the plan. shownFolder: the destination's path. False: error says in one line what is
    // missing. True as well where the system does not say what is free.
    bool HasRoomFor(NSArray *files, const std::string &shownFolder, std::string *error);

private:
    uint64_t RoughNeed(NSArray *files, const DiskSpace &space) const;
    uint64_t ExactNeed(NSArray *files, const DiskSpace &space);
    bool IsExported(Z5FindData *entry) const;
    int64_t GivenBackFor(Z5FindData *entry);

    const VolumeSession &_session;
    const DestinationTree &_tree;
    LocalNames &_names;
};

}  // namespace vx
