// A hidden folder inside a destination in which names are tried. It goes with what it holds; one
// that a killed run has left is removed by the next.
//
// A folder that is in use is locked (flock), so that another run leaves it alone.
// Ownership: owns its folder; borrows the parent's descriptor. Threads: one at a time.
#pragma once

#include "UniqueFd.h"

#include <string>

namespace vx {

class ProbeFolder {
public:
    explicit ProbeFolder(int parent);
    ~ProbeFolder();
    ProbeFolder(const ProbeFolder &) = delete;
    ProbeFolder &operator=(const ProbeFolder &) = delete;

    // False: it could not be made.
    explicit operator bool() const { return bool(_folder); }

    // Makes an empty file; none if it is refused or there.
    UniqueFd Make(const std::string &name) const;
    bool Has(const std::string &name) const;
    // Whether no file can have this name. A file that could not be made for another reason, such as
    // a full disk, says nothing of its name.
    bool Refuses(const std::string &name) const;
    // The same, or whether a file has another name once it is made.
    bool RefusesOrChanges(const std::string &name) const;

private:
    bool MakeFolder();

    const int _parent;
    std::string _name;
    UniqueFd _folder;
};

}  // namespace vx
