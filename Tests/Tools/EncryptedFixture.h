// What the tests of volume-export on encrypted images share: a FAT image, filled by the system's
// own programs and encrypted in place.
#pragma once

#include "ToolFixture.h"

namespace vx {

class EncryptedTest : public ToolTest {
protected:
    // Leaves the test out where a program is missing.
    void SetUp() override;

    // An image with the files of the temporary folder's "volume" inside, plain. options: of
    // mkfs.fat.
    void MakeImage(int mebibytes, const std::string &options = "");
    // options: of make-bitlocker-volume.
    void Encrypt(const std::string &options);
    // Lets the shell run the line; a test failure if it does not succeed.
    static void Shell(const std::string &line);

    const std::string _image = _folder.At("image");
};

}  // namespace vx
