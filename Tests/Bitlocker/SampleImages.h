// Volumes that Windows encrypted, for checks against the real thing.
//
// They lie outside the repository, in ../shared/samples seen from its root or in the folder that
// VX_SAMPLE_IMAGES names:
//   README.md             lists their secrets and the hashes of their plaintext; the tests read it
//   unlock-images.tar.xz  the images that hold only headers (bitlk-*), and the startup key files
//   NAME.img.xz           the others
//   NAME.manifest.tsv     what each of those contains
// They are unpacked once into a temporary folder that is removed at the end.
#pragma once

#include "FileByteSource.h"
#include "Secret.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace vx::bitlocker {

// The names are fixed here so that a test is listed, and skipped, where the folder is absent.
constexpr const char *kReadableSamples[] = {
    "ntfs-cbc128",
    "tree-ntfs-xts128",
    "tree-fat16-cbc128",
    "bitlk-aes-cbc-128",
    "bitlk-aes-cbc-256",
    "bitlk-aes-xts-128",
    "bitlk-aes-xts-256",
    "bitlk-aes-cbc-elephant-128",
    "bitlk-aes-cbc-elephant-256",
    "bitlk-togo-aes-cbc-128",
    "bitlk-togo-aes-xts-128",
    "bitlk-aes-cbc-128-4k",
    "bitlk-aes-xts-128-4k",
    "bitlk-aes-xts-128-new-entry",
    "bitlk-aes-xts-128-smart-card",
    "bitlk-aes-xts-128-startup-key",
    "bitlk-aes-xts-128-startup-key-win11",
    "bitlk-aes-xts-128-two-recovery",
    "bitlk-aes-xts-128-unicode",
    "bitlk-aes-xts-128-crc",
    "bitlk-aes-xts-128-clearkey-only",
    "bitlk-aes-xts-128-first-recovery",
};
// Their records of a conversion are damaged.
constexpr const char *kSamplesWithoutMap[] = {"bitlk-aes-xts-128-eow",
                                              "bitlk-partially-encrypted-aes-cbc-128"};

struct SampleImage {
    std::string method;     // as the table has it: "AES-128-CBC, To Go, FAT16"
    std::string plainHash;  // in hexadecimal digits; empty if it is not known
    std::vector<std::string> passwords;
    std::vector<std::string> recoveryPasswords;
    std::string keyFile;  // its name, without folder; empty for none

    // All secrets; at least None().
    std::vector<Secret> Secrets(const std::string &folder) const;
};

class SampleImages {
public:
    static SampleImages &Shared();
    // The name of an image as that of a test.
    static std::string TestName(std::string name);
    ~SampleImages();
    SampleImages(const SampleImages &) = delete;
    SampleImages &operator=(const SampleImages &) = delete;

    // Unpacks what is not yet unpacked. Returns the file that is missing, or nothing.
    std::string Prepare(const std::string &name);
    // The same for a file that lies beside the images.
    std::string Need(const std::string &file);
    // Of such a file.
    std::string PathBeside(const std::string &file) const { return _samples + "/" + file; }
    // Which files were missing so far and where they belong, for the end of a run; empty if none.
    std::string MissingText() const;

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
    void ReadSecrets(const std::string &name, const std::string &method, const std::string &row);
    static std::string PackedName(const std::string &name);

    const std::string _samples;
    std::string _temporary;
    std::map<std::string, SampleImage> _images;
    std::set<std::string> _missing;
};

}  // namespace vx::bitlocker
