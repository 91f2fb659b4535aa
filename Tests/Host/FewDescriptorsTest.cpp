// volume-host when it may open few descriptors.
#include "FewDescriptors.h"
#include "EndToEndTest.h"

namespace {

using FewDescriptorsTest = EndToEndTest;

TEST_F(FewDescriptorsTest, TooFewAreNamedAndEndNothingByASignal)
{
    for (int most = 4; most <= 20; ++most) {
        ChildProcess host("/bin/sh", {"-c", vx::RunWithDescriptors(most), VOLUME_HOST, "--explorer",
                                      FAKE_EXPLORER, "exit:" + _file});
        const int status = host.AwaitEnd().value_or(-1);
        EXPECT_TRUE(status == 1 || status == 3 || status == 4) << status;
        EXPECT_EQ(host.Output().rfind("volume-host: ", 0), 0u) << most << host.Output();
        if (most == 4)
            EXPECT_NE(host.Output().find("no pipe can be made"), std::string::npos)
                << host.Output();
    }
    EXPECT_TRUE(NothingIsThere());
}

}  // namespace
