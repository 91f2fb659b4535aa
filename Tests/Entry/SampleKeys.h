// Every way in which a volume that Windows encrypted can be unlocked: with the secrets that the
// list of the images has, with files and rings of keys made of them, and with the raw keys that
// these secrets lead to.
#pragma once

#include "SampleImages.h"
#include "TemporaryFolder.h"

#include <string>
#include <utility>
#include <vector>

namespace vx {

class SampleKeys {
public:
    // A kind of unlock and its secret, as the library's entry takes them.
    using Way = std::pair<const char *, std::string>;

    // Of an image that was prepared. Files that are named stay as long as the object.
    std::vector<Way> WaysToOpen(const std::string &name) const;
    // The same, but a raw key only as digits.
    std::vector<Way> FewerWaysToOpen(const std::string &name) const;

private:
    void AddFilesOfKeys(const std::string &name, std::vector<Way> *ways) const;
    void AddRawKeys(const std::string &name, std::vector<Way> *ways) const;
    std::string MakeRing(const std::string &name) const;

    const TemporaryFolder _folder;
};

}  // namespace vx
