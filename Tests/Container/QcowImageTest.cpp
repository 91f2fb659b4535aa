// The clusters of QCOW2 images: of every kind, damaged, cut short and unreadable.
#include "FailingSource.h"
#include "QcowTest.h"

#include <thread>

namespace vx {
namespace {

class QcowImages : public QcowTest {};

TEST_F(QcowImages, EveryKindOfClusterReadsAsItsDisk)
{
    for (const bool isZstd : {false, true}) {
        QcowRecipe recipe;
        recipe.isZstd = isZstd;
        const Container container = Opened(Writer(recipe).Image());
        ASSERT_EQ(container.source->Size(), disk.size());
        EXPECT_TRUE(Read(container, 0, disk.size()) == disk) << isZstd;
        for (size_t at = 0; at + 700 < disk.size(); at += 100)
            EXPECT_TRUE(Read(container, at, 700) == disk.substr(at, 700)) << at;
        EXPECT_TRUE(container.notes.empty());
    }
}

TEST_F(QcowImages, TheirKindAndVersionAreNamed)
{
    QcowRecipe recipe;
    recipe.version = 2;
    QcowWriter writer(recipe);
    writer.AddStored(first);
    const Container container = Opened(writer.Image());
    EXPECT_STREQ(container.kind, "qcow2");
    EXPECT_EQ(container.description, "a QCOW2 image of version 2");
    EXPECT_TRUE(Read(container, 0, kCluster) == first);
}

TEST_F(QcowImages, OfSubclustersEachIsReadForItself)
{
    QcowRecipe recipe;
    recipe.clusterBits = 14;
    recipe.hasSubclusters = true;
    constexpr size_t kPart = 512;
    QcowWriter writer(recipe);
    const std::string bytes = NoiseBytes(32 * kPart, 5);
    writer.AddParts(bytes, 0x8000000F | uint64_t{0x30} << 32);
    writer.AddZeros();
    writer.AddNothing();
    writer.AddStored(bytes);
    std::string expected(4 * 32 * kPart, '\0');
    expected.replace(0, 4 * kPart, bytes, 0, 4 * kPart);
    expected.replace(31 * kPart, kPart, bytes, 31 * kPart, kPart);
    expected.replace(3 * bytes.size(), bytes.size(), bytes);
    const Container container = Opened(writer.Image());
    EXPECT_TRUE(Read(container, 0, expected.size()) == expected);
    for (size_t at = 0; at + 1500 < expected.size(); at += 111)
        ASSERT_TRUE(Read(container, at, 1500) == expected.substr(at, 1500)) << at;
}

TEST_F(QcowImages, DamageInACompressedClusterLosesThatCluster)
{
    for (const bool isZstd : {false, true}) {
        QcowRecipe recipe;
        recipe.isZstd = isZstd;
        QcowWriter writer = Writer(recipe);
        std::string image = writer.Image();
        const size_t at = writer.ClustersAt() + kCluster;
        image.replace(at, 8, "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF");
        ExpectOneLost(image, 2, "packed data is damaged");
    }
}

TEST_F(QcowImages, ACompressedClusterThatIsTooShortOrTooLongIsLost)
{
    for (const size_t bytes : {kCluster - 1, kCluster + 1}) {
        for (const bool isZstd : {false, true}) {
            QcowRecipe recipe;
            recipe.isZstd = isZstd;
            QcowWriter writer(recipe);
            writer.AddPacked(TextBytes(bytes, 1));
            writer.AddStored(last);
            const Container container = Opened(writer.Image());
            const std::string read = Read(container, 0, kCluster);
            EXPECT_EQ(read.rfind("failed: read at 0: ", 0), 0u) << bytes << isZstd;
            EXPECT_TRUE(Read(container, kCluster, kCluster) == last);
        }
    }
}

TEST_F(QcowImages, ABadSectorCostsOnlyWhatItHolds)
{
    const QcowWriter writer = Writer();
    const auto file = std::make_shared<FailingSource>(writer.Image());
    const auto container = OpenSource(file);
    ASSERT_TRUE(container);
    file->MakeBad(writer.ClustersAt() + 512, 512);
    EXPECT_TRUE(Read(*container, 0, 512) == first.substr(0, 512));
    EXPECT_EQ(Read(*container, 512, 512).rfind("failed: read at 512: ", 0), 0u);
    EXPECT_TRUE(Read(*container, 1024, 3072) == first.substr(1024, 3072));
    file->MakeBad(writer.ClustersAt() + kCluster, 512);
    EXPECT_EQ(Read(*container, 2 * kCluster, 512).rfind("failed: ", 0), 0u);
    EXPECT_TRUE(Read(*container, 3 * kCluster, 2 * kCluster) == disk.substr(3 * kCluster));
}

TEST_F(QcowImages, OneThatWasCutShortOpensAndSaysHowMuchIsMissing)
{
    const std::string image = Writer().Image();
    const std::pair<size_t, size_t> cuts[] = {{1, 1}, {4096, 4096}, {1024, 1024}};
    for (const auto &[cut, missing] : cuts) {
        const Container container = Opened(image.substr(0, image.size() - cut));
        ASSERT_EQ(container.notes.size(), 1u) << cut;
        EXPECT_EQ(container.notes[0], "the QCOW2 image ends early; " + std::to_string(missing) +
                                          " bytes of the disk cannot be read");
        EXPECT_TRUE(Read(container, 0, 4 * kCluster) == disk.substr(0, 4 * kCluster));
        EXPECT_EQ(Read(container, 5 * kCluster - 1, 1), Failure(5 * kCluster - 1, kBeyondEnd));
    }
}

TEST_F(QcowImages, WhereverOneIsCutShortWhatIsReadIsRight)
{
    const QcowWriter writer = Writer();
    const std::string image = writer.Image();
    const std::string early = "the QCOW2 image ends early";
    for (size_t bytes = 4; bytes < image.size(); bytes += 100) {
        const auto container = OpenSource(SourceOf(image.substr(0, bytes)));
        if (bytes < writer.L1At() + 8) {
            ASSERT_FALSE(container) << bytes;
            EXPECT_EQ(container.Failure().status, Status::kTruncatedImage);
            EXPECT_EQ(container.Failure().detail, early);
            continue;
        }
        ASSERT_TRUE(container) << bytes;
        EXPECT_EQ(container->notes.size(), 1u) << bytes;
        for (size_t at = 0; at < disk.size(); at += 512) {
            const std::string read = Read(*container, at, 512);
            EXPECT_TRUE(read == disk.substr(at, 512) || read.rfind("failed: ", 0) == 0) << bytes;
        }
    }
}

TEST_F(QcowImages, ThreadsReadWhatIsThere)
{
    QcowWriter writer = Writer();
    std::string all = disk;
    for (int i = 0; i < 40; ++i) {
        writer.AddPacked(TextBytes(kCluster, i + 1));
        all += TextBytes(kCluster, i + 1);
    }
    const Container container = Opened(writer.Image());
    std::vector<std::thread> threads;
    for (size_t number = 0; number < 4; ++number) {
        threads.emplace_back([&, number] {
            for (size_t at = number * 100; at + 5000 < all.size(); at += 377)
                EXPECT_TRUE(Read(container, at, 5000) == all.substr(at, 5000));
        });
    }
    for (std::thread &thread : threads)
        thread.join();
}

}  // namespace
}  // namespace vx
