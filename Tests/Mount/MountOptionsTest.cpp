// The command line of volume-mount.
#include "MountOptions.h"

#include <gtest/gtest.h>

namespace vx {
namespace {

TEST(MountOptions, TakesAVolumeAFolderAndHowToUnlock)
{
    std::string error;
    const auto options = ParseMountOptions(
        {"disk.img", "--unlock", "password", "s3cret", "/mnt", "--allow-other"}, &error);
    ASSERT_TRUE(options) << error;
    EXPECT_EQ(options->volume, "disk.img");
    EXPECT_EQ(options->folder, "/mnt");
    EXPECT_EQ(options->unlocking.kind, "password");
    EXPECT_EQ(options->unlocking.secret, "s3cret");
    EXPECT_TRUE(options->allowOther);
    EXPECT_FALSE(options->background);
}

TEST(MountOptions, SaysWhatIsMissingOrTooMuch)
{
    const struct {
        std::vector<std::string> words;
        const char *error;
    } kCases[] = {{{}, "a volume is missing"},
                  {{"disk.img"}, "a folder to mount on is missing"},
                  {{"disk.img", "/mnt", "more"}, "there is one argument too many: more"}};
    for (const auto &wrong : kCases) {
        std::string error;
        EXPECT_FALSE(ParseMountOptions(wrong.words, &error));
        EXPECT_EQ(error, wrong.error);
    }
    std::string error;
    EXPECT_FALSE(ParseMountOptions({"--nothing", "disk.img", "/mnt"}, &error));
    EXPECT_NE(error, "");
}

TEST(MountOptions, AnswersHelpBeforeAnythingElse)
{
    std::string error;
    const auto options = ParseMountOptions({"--background", "--help"}, &error);
    ASSERT_TRUE(options);
    EXPECT_EQ(options->action, MountOptions::Action::kHelp);
}

}  // namespace
}  // namespace vx
