#include "EncryptedFixture.h"

#include <cstdlib>

namespace vx {

void EncryptedTest::SetUp()
{
    if (std::string(VX_MKFS_FAT).empty() || std::string(VX_MCOPY).empty())
        GTEST_SKIP() << "dosfstools or mtools is missing";
}

void EncryptedTest::Shell(const std::string &line)
{
    ASSERT_EQ(std::system(line.c_str()), 0) << line;
}

void EncryptedTest::MakeImage(int mebibytes, const std::string &options)
{
    Shell("truncate -s " + std::to_string(mebibytes) + "M '" + _image + "' && '" VX_MKFS_FAT "' " +
          options + " '" + _image + "' >/dev/null && cd '" + _volume +
          "' && LC_ALL=C.UTF-8 MTOOLS_SKIP_CHECK=1 '" VX_MCOPY "' -s -i '" + _image +
          "' ./* :: </dev/null");
}

void EncryptedTest::Encrypt(const std::string &options)
{
    const std::string encrypted = _folder.At("encrypted");
    Shell("'" VX_MAKE_VOLUME "' '" + _image + "' '" + encrypted + "' " + options + " && mv '" +
          encrypted + "' '" + _image + "'");
}

}  // namespace vx
