// The wire format of one pipe message, 512 bytes in native byte order, and the pending-request
// record's size that follows from it. Every message is one write of exactly this size, which
// no pipe of the supported platforms splits.
#pragma once

#include <cstddef>
#include <cstdint>

// Bytes of a whole message and of the body after its id.
constexpr size_t kPipeMessageSize = 512;
constexpr size_t kPipeBodySize = 508;

// Ids: 0 is no message, 1 is every asynchronous message of the explorer, and synchronous
// requests count upwards from 16.
constexpr int32_t kNoMessageId = 0;
constexpr int32_t kAsyncMessageId = 1;
constexpr int32_t kFirstRequestId = 16;

#pragma pack(push, 1)
struct _MSG_DATA_PACKAGE {
    int32_t msgId;
    char body[kPipeBodySize];  // a command record, zero-padded
};
#pragma pack(pop)

static_assert(offsetof(_MSG_DATA_PACKAGE, msgId) == 0, "message layout");
static_assert(offsetof(_MSG_DATA_PACKAGE, body) == 4, "message layout");
static_assert(sizeof(_MSG_DATA_PACKAGE) == kPipeMessageSize, "message layout");
