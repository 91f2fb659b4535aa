#include "UserStallFixture.h"

#include "Eventually.h"

#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

void UserStallTest::SetUp()
{
    UserTest::SetUp();
    mkfifo((_stall + "/stalled").c_str(), 0600);
    mkfifo((_stall + "/release").c_str(), 0600);
    _stalled = open((_stall + "/stalled").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
}

UserStallTest::~UserStallTest()
{
    close(_stalled);
}

bool UserStallTest::Release()
{
    // The library opens its end only once it has stalled.
    int end = -1;
    const bool stalled = Eventually([&] {
        end = open((_stall + "/release").c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        return end >= 0;
    });
    close(end);
    return stalled;
}

std::string UserStallTest::StartStallingExport()
{
    std::string main = Window("File Explorer");
    AskForPanel(main, 78);
    ChooseFolder(destination);
    EXPECT_TRUE(Eventually([&] { return fs::exists(_partial) && fs::file_size(_partial) > 0; }));
    return main;
}
