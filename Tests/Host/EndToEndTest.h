// A volume-host and an explorer as two real processes, on the paths and at the pace of the product.
#pragma once

#include "ChildProcess.h"
#include "Eventually.h"
#include "LinkFixture.h"
#include "PipeFolder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <signal.h>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

inline constexpr char kToExplorer[] = "/tmp/z5_btl_3";
inline constexpr char kToHost[] = "/tmp/z5_btl_4";
inline constexpr char kLock[] = "/tmp/z5_btl_4.lock";

class EndToEndTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(NothingIsThere()) << "a host or an explorer is running, or left files behind";
    }
    ~EndToEndTest() override
    {
        for (const char *path : {kToExplorer, kToHost, kLock})
            unlink(path);
    }

    static bool NothingIsThere()
    {
        return !PipeFolder::Exists(kToExplorer) && !PipeFolder::Exists(kToHost) &&
               !PipeFolder::Exists(kLock) && !SemaphoreExists("z5_sem_FileExplorerClient_16_") &&
               !SemaphoreExists("z5_sem_VolumeHost_16_");
    }

    // volume-host with an explorer that plays a mode.
    ChildProcess Host(const std::string &mode, std::vector<std::string> more = {})
    {
        more.insert(more.begin(), {"--explorer", FAKE_EXPLORER, mode + ":" + _file});
        return ChildProcess(VOLUME_HOST, more);
    }

    // What the explorer reported; the file appears with all of it.
    std::string Reported() const
    {
        EXPECT_TRUE(Eventually([this] { return PipeFolder::Exists(_file); }));
        return ContentOf(_file);
    }

    static std::string ContentOf(const std::string &path)
    {
        std::ostringstream text;
        text << std::ifstream(path).rdbuf();
        return text.str();
    }

    // The descriptors that every child of a host has.
    static constexpr char kStandard[] = "0 1 2 ";

    // One that has ended may stay in the list until its new parent looks after it.
    static bool IsRunning(const std::string &pid)
    {
        const std::string status = ContentOf("/proc/" + pid + "/stat");
        return kill(std::stoi(pid), 0) == 0 && status.find(") Z ") == std::string::npos;
    }

    PipeFolder _folder;
    const std::string _file = _folder.At("reported");
};
