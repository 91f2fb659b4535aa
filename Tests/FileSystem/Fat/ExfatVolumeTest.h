// The fixture of the suites of exFAT: a volume that a test fills by hand and opens.
#pragma once

#include "ExfatImage.h"
#include "OpenSource.h"
#include "SourceWithHole.h"
#include "TestImage.h"

namespace vx {

class ExfatVolumeTest : public testing::Test {
protected:
    void SetUp() override
    {
        VX_NEEDS("mkfs.exfat");
        const TestImage made{};
        ASSERT_TRUE(made.MakeExfat(8));
        image = std::make_unique<ExfatImage>(made.Folder().ReadFile("image"));
        clusterBytes = image->clusterBytes;
        root = image->root;
    }

    void Add(uint32_t folder, const ExfatEntry &entry) { image->Add(folder, entry); }
    void Write(uint32_t cluster, const std::string &contents) { image->Write(cluster, contents); }

    // From begin to end nothing can be read.
    OwnedVolume &Open(size_t begin = 0, size_t end = 0)
    {
        volume = FatVolumeOf(std::make_shared<SourceWithHole>(image->Text(), begin, end));
        EXPECT_TRUE(volume);
        return *volume;
    }

    std::unique_ptr<ExfatImage> image;
    size_t clusterBytes = 0;
    uint32_t root = 0;
    std::unique_ptr<OwnedVolume> volume;
};

}  // namespace vx
