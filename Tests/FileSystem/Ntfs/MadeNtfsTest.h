// The fixture of the suites that damage an NTFS volume which another program has made and filled,
// once for each suite.
#pragma once

#include "TestImage.h"

#include <memory>

namespace vx {

class MadeNtfsTest : public testing::Test {
protected:
    // Called by SetUpTestSuite. fill: whether the image of 16 MiB was filled.
    template <typename Fill>
    static void Make(Fill fill)
    {
        if (!CanMountNtfs())
            return;
        const TestImage image{};
        ASSERT_TRUE(image.MakeNtfs(16));
        ASSERT_TRUE(fill(image));
        whole = std::make_unique<const std::string>(image.Folder().ReadFile("image"));
    }
    static void TearDownTestSuite() { whole.reset(); }

    void SetUp() override
    {
        if (!CanMountNtfs())
            GTEST_SKIP() << "mkntfs, ntfs-3g or /dev/fuse is missing";
        ASSERT_NE(whole, nullptr);
    }

    static inline std::unique_ptr<const std::string> whole;  // the image of the present suite
};

}  // namespace vx
