// Opens small QCOW2 images and compares what is read of them.
#pragma once

#include "OpenedImage.h"
#include "QcowImage.h"
#include "QcowWriter.h"
#include "TestImage.h"

namespace vx {

// Five clusters: stored, nothing, packed, zeros, stored.
class QcowTest : public testing::Test {
protected:
    static constexpr size_t kCluster = 4096;
    static constexpr const char *kDamagedTable = "a table of the QCOW2 image is damaged";
    static constexpr const char *kBeyondEnd = "the QCOW2 image ends before this place";

    static std::string TextBytes(size_t count, int seed)
    {
        std::string text;
        while (text.size() < count)
            text +=
                "line " + std::to_string(text.size() * seed) + " of a text that can be packed\n";
        text.resize(count);
        return text;
    }

    static Result<Container> OpenSource(const Source &file)
    {
        return OpenQcow(file, NoParents(), [](const std::string &name) -> Result<Source> {
            return Error{Status::kTruncatedImage, name + " is missing"};
        });
    }

    static Container Opened(const std::string &image)
    {
        return Checked(OpenSource(SourceOf(image)));
    }

    static void ExpectRefused(const std::string &image, Status status, const std::string &detail)
    {
        ExpectFailure(OpenSource(SourceOf(image)), status, detail);
    }

    QcowWriter Writer(QcowRecipe recipe = {}) const
    {
        QcowWriter writer(std::move(recipe));
        writer.AddStored(first);
        writer.AddNothing();
        writer.AddPacked(packed);
        writer.AddZeros();
        writer.AddStored(last);
        return writer;
    }

    // All is right but for one cluster, which fails so.
    void ExpectOneLost(const std::string &image, size_t cluster, const std::string &detail) const
    {
        const Container container = Opened(image);
        for (size_t i = 0; i < disk.size() / kCluster; ++i) {
            const std::string expected = i == cluster ? Failure(i * kCluster + 100, detail)
                                                      : disk.substr(i * kCluster + 100, 1000);
            EXPECT_TRUE(Read(container, i * kCluster + 100, 1000) == expected)
                << i << ": " << Read(container, i * kCluster + 100, 1000).substr(0, 100);
        }
    }

    static std::string WithHeader(std::string image, size_t at, uint64_t value, size_t bytes)
    {
        return image.replace(at, bytes, QcowWriter::Number(value, bytes));
    }

    const std::string first = NoiseBytes(kCluster, 1);
    const std::string packed = TextBytes(kCluster, 3);
    const std::string last = NoiseBytes(kCluster, 2);
    const std::string disk =
        first + std::string(kCluster, '\0') + packed + std::string(kCluster, '\0') + last;
};

}  // namespace vx
