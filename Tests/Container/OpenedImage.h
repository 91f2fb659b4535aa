// What tests of images check once one was opened, or was not.
#pragma once

#include "Container.h"
#include "OpenSource.h"

#include <gtest/gtest.h>
#include <string>

namespace vx {

// "failed: " and why if it cannot be read.
inline std::string Read(const Container &container, uint64_t offset, size_t count)
{
    if (container.source == nullptr)
        return "did not open";
    std::string bytes(count, '\0');
    const Error error = container.source->ReadAt(offset, bytes.data(), count);
    return error ? "failed: " + error.detail : bytes;
}

// What Read returns for a place that cannot be read.
inline std::string Failure(uint64_t offset, const std::string &detail)
{
    return "failed: read at " + std::to_string(offset) + ": " + detail;
}

// An empty one, and a failure of the test, if it did not open.
inline Container Checked(Result<Container> container)
{
    EXPECT_TRUE(container) << container.Failure().detail;
    return container ? *container : Container{SourceOf("")};
}

inline void ExpectFailure(const Result<Container> &container, Status status,
                          const std::string &detail)
{
    ASSERT_FALSE(container);
    EXPECT_EQ(container.Failure().status, status);
    EXPECT_EQ(container.Failure().detail, detail);
}

}  // namespace vx
