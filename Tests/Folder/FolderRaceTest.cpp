// What other threads do meanwhile: use the same volume, or change the folder beneath it.
#include "VolumeReader.h"

#include <atomic>
#include <cstdio>
#include <thread>

namespace vx {
namespace {

// Repeats step on a thread of its own until the object goes.
class Background {
public:
    template <typename Step>
    explicit Background(Step step)
        : _thread([this, step] {
              while (!_stop)
                  step();
          })
    {
    }
    ~Background()
    {
        _stop = true;
        _thread.join();
    }
    Background(const Background &) = delete;
    Background &operator=(const Background &) = delete;

private:
    std::atomic<bool> _stop{false};
    std::thread _thread;
};

using FolderRaceTest = FolderVolumeTest;

// Fewer say nothing about a race: the other thread may not have run at all.
constexpr int kLeastSwaps = 200;

TEST_F(FolderRaceTest, AFolderIsListedOnOneThreadWhileAFileIsReadOnAnother)
{
    const std::string contents(100000, 'c');
    folder.WriteFile("file", contents);
    folder.MakeLink("link", "file");
    std::atomic<int> reads{0};
    std::atomic<bool> allEqual{true};
    {
        const Background reader([&] {
            if (ReadWholeFile(volume, u"/link") != contents)
                allEqual = false;
            ++reads;
        });
        for (int i = 0; i < 200 || reads < 20; ++i)
            ASSERT_EQ(SortedNames(volume, u"/*").size(), 2u);
    }
    EXPECT_TRUE(allEqual);
}

TEST_F(FolderRaceTest, AFileSwappedForALinkToTheOutsideNeverLeadsThere)
{
    const TemporaryFolder outside;
    const std::string secret = outside.WriteFile("secret", "secret");
    const std::string name = folder.At("name");
    std::atomic<int> swaps{0};
    const Background swapper([&] {
        folder.WriteFile("spare-file", "inside");
        std::rename(folder.At("spare-file").c_str(), name.c_str());
        std::rename(folder.MakeLink("spare-link", secret).c_str(), name.c_str());
        ++swaps;
    });
    for (int i = 0; i < 2000 || swaps < kLeastSwaps; ++i)
        ASSERT_NE(ReadWholeFile(volume, u"/name"), "secret");
}

TEST_F(FolderRaceTest, AFolderSwappedForALinkToTheOutsideNeverLeadsThere)
{
    const TemporaryFolder outside;
    outside.WriteFile("file", "secret");
    folder.WriteFile("real/file", "inside");
    folder.MakeLink("door", outside.Path());
    std::atomic<int> swaps{0};
    const Background swapper([&] {
        std::rename(folder.At("real").c_str(), folder.At("name").c_str());
        std::rename(folder.At("name").c_str(), folder.At("real").c_str());
        std::rename(folder.At("door").c_str(), folder.At("name").c_str());
        std::rename(folder.At("name").c_str(), folder.At("door").c_str());
        ++swaps;
    });
    for (int i = 0; i < 2000 || swaps < kLeastSwaps; ++i)
        ASSERT_NE(ReadWholeFile(volume, u"/name/file"), "secret");
}

TEST_F(FolderRaceTest, EntriesThatVanishWhileTheirFolderIsListedAreLeftOut)
{
    for (int i = 0; i < 10; ++i)
        folder.WriteFile("file-" + std::to_string(i), "");
    VolumeFindData record = {};
    const VolumeHandle search = volume.FindFirstFile(u"/*", &record);
    for (int i = 0; i < 10; ++i)
        std::remove(folder.At("file-" + std::to_string(i)).c_str());
    EXPECT_FALSE(volume.FindNextFile(search, &record));
    volume.FindClose(search);
}

}  // namespace
}  // namespace vx
