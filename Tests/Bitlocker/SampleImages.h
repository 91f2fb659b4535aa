// Volumes that Windows encrypted, for checks against the real thing.
//
// They lie outside the repository, in ../shared/samples seen from its root or in the folder that
// the variable VX_SAMPLE_IMAGES names; README.md there lists their secrets and the hashes of
// their plaintext, and is read by the tests, since none of that belongs here. Unpacked once into
// a temporary folder that is removed at the end.
#pragma once

#include "FileByteSource.h"
#include "Secret.h"

#include <map>
#include <string>
#include <vector>

namespace vx::bitlocker {

struct SampleImage {
    std::string plainHash;  // in hexadecimal digits; empty if nobody knows it
    std::vector<std::string> passwords;
    std::vector<std::string> recoveryPasswords;
    std::string keyFile;  // its name, without folder; empty for none

    // All secrets; at least none().
    std::vector<Secret> Secrets(const std::string &folder) const;
};

class SampleImages {
public:
    static SampleImages &Shared();
    ~SampleImages();
    SampleImages(const SampleImages &) = delete;
    SampleImages &operator=(const SampleImages &) = delete;

    // Unpacks what is not yet unpacked. Returns the file that is missing, or nothing.
    std::string Prepare(const std::string &name);

    const std::map<std::string, SampleImage> &Images() const { return _images; }
    const SampleImage &Image(const std::string &name) const { return _images.at(name); }
    // Where the header-only images and the key files are.
    std::string Folder() const { return _temporary + "/bitlk-images"; }
    // Of an image that was prepared.
    std::string Path(const std::string &name) const;
    std::shared_ptr<const ByteSource> Source(const std::string &name) const;

private:
    SampleImages();
    void ReadTables();
    void ReadSecrets(const std::string &name, const std::string &row);
    std::string PackedPath(const std::string &name) const;

    const std::string _samples;
    std::string _temporary;
    std::map<std::string, SampleImage> _images;
};

}  // namespace vx::bitlocker
