#include "VolumeCheck.h"

#include "TemporaryFolder.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;

// Where the explorer lies beside the built volume library; the program itself is not started.
const std::string kExplorer = VX_RUNTIME_DIR "/FileExplorer.app/FileExplorer";

// Borrows the volume's path.
vx::OpeningTexts Options(const std::string &volume, const char *kind = "none",
                         const char *secret = "")
{
    return {volume.c_str(), kind, secret};
}

}  // namespace

TEST(VolumeCheck, AVolumeThatOpensGivesNoReason)
{
    const vx::TemporaryFolder folder;
    EXPECT_EQ(vx::WhyVolumeDoesNotOpen(kExplorer, Options(folder.Path())), "");
}

TEST(VolumeCheck, AVolumeThatDoesNotExistIsToldInWordsWithItsStatus)
{
    const vx::TemporaryFolder folder;
    const std::string reason =
        vx::WhyVolumeDoesNotOpen(kExplorer, Options(folder.Path() + "/missing"));
    EXPECT_THAT(reason, HasSubstr("cannot open " + folder.Path() + "/missing: "));
    EXPECT_THAT(reason, HasSubstr("(status "));
}

TEST(VolumeCheck, WhatIsNoticedOfAVolumeThatOpensIsAWarning)
{
    const vx::TemporaryFolder folder;
    const std::string disk = folder.Path() + "/disk.img";
    const std::string make = "PATH=\"$PATH:/usr/sbin:/sbin\"; truncate -s 8M '" + disk +
                             "' && mkfs.fat -F 12 '" + disk + "' >/dev/null && truncate -s 3M '" +
                             disk + "'";
    if (std::system(make.c_str()) != 0)
        GTEST_SKIP() << "mkfs.fat is missing; see docs/building.md";
    std::vector<std::string> warnings;
    EXPECT_EQ(vx::WhyVolumeDoesNotOpen(kExplorer, Options(disk), &warnings), "");
    EXPECT_THAT(warnings, testing::ElementsAre(HasSubstr("ends 5 MiB before the volume does")));
}

TEST(VolumeCheck, TheSecretIsNotRepeated)
{
    const vx::TemporaryFolder folder;
    folder.WriteFile("disk.img", std::string(4096, 'x'));
    const std::string reason = vx::WhyVolumeDoesNotOpen(
        kExplorer, Options(folder.Path() + "/disk.img", "recovery", "111111-secret"));
    EXPECT_NE(reason, "");
    EXPECT_EQ(reason.find("111111-secret"), std::string::npos);
}

TEST(VolumeCheck, AMissingLibraryIsTold)
{
    const vx::TemporaryFolder folder;
    EXPECT_THAT(vx::WhyVolumeDoesNotOpen(folder.Path() + "/X.app/X", Options("/")),
                HasSubstr("the volume library does not load"));
}

TEST(VolumeCheck, AnExplorerOutsideABundleIsNotTriedFor)
{
    EXPECT_EQ(vx::WhyVolumeDoesNotOpen("/bin/true", Options("/does/not/exist")), "");
}
