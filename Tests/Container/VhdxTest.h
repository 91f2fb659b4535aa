// Opens small VHDX images and compares what is read of them.
#pragma once

#include "OpenAt.h"
#include "OpenedImage.h"
#include "TestImage.h"
#include "VhdxImage.h"
#include "VhdxWriter.h"

namespace vx {

class VhdxTest : public testing::Test {
protected:
    static constexpr uint64_t kMiB = VhdxWriter::kMiB;

    Container Open(const std::string &image, const std::string &name = "x.vhdx") const
    {
        Container container;
        const Error error = OpenAt(folder.WriteFile(name, image), &container);
        EXPECT_EQ(error.status, Status::kOk) << error.detail;
        return container;
    }

    Error FailureOf(const std::string &image) const
    {
        Container container;
        return OpenAt(folder.WriteFile("x.vhdx", image), &container);
    }

    void ExpectFails(const std::string &image, Status status, const std::string &detail) const
    {
        const Error error = FailureOf(image);
        EXPECT_EQ(error.status, status);
        EXPECT_EQ(error.detail, detail);
    }

    // As a whole, and in pieces that begin and end anywhere.
    static void ExpectDisk(const Container &container, const std::string &expected)
    {
        ASSERT_NE(container.source, nullptr);
        ASSERT_EQ(container.source->Size(), expected.size());
        EXPECT_TRUE(Read(container, 0, expected.size()) == expected);
        constexpr size_t kPiece = 70001;
        for (size_t at = 0; at + kPiece <= expected.size(); at += 60013)
            ASSERT_TRUE(Read(container, at, kPiece) == expected.substr(at, kPiece)) << at;
    }

    static std::string Zeros(size_t count) { return std::string(count, '\0'); }

    const TemporaryFolder folder{};
};

}  // namespace vx
