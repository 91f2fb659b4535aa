// The command record that the explorer and the host application exchange, and its codes.
//
// Layout: packed, native byte order, since both processes run on one machine:
//     0  command code    4 bytes
//     4  reserved word   4 bytes, 0
//     8  record length   4 bytes, header included
//    12  payload         of type T
// A record travels in the body of a pipe message, so it is at most 508 bytes long.
// CPipeDataWrapper:: GetCommandDataLen gives the length of each code's record; receivers ignore the
// length field. Codes have a fixed underlying type: any 32 bits from the wire are a value.
#pragma once

#include <cstddef>
#include <cstdint>

enum COMMAND_TYPE : uint32_t {
    // Explorer to host, sent once when the explorer terminates. The payload is one zero byte.
    CMD_EXPLORER_QUIT = 12,
};

#pragma pack(push, 1)
template <typename T>
struct CCommandDataWrapper {
    COMMAND_TYPE command;
    uint32_t reserved;
    uint32_t length;  // bytes
    T payload;
};
#pragma pack(pop)

static_assert(sizeof(COMMAND_TYPE) == 4, "record layout");
static_assert(offsetof(CCommandDataWrapper<char>, command) == 0, "record layout");
static_assert(offsetof(CCommandDataWrapper<char>, reserved) == 4, "record layout");
static_assert(offsetof(CCommandDataWrapper<char>, length) == 8, "record layout");
static_assert(offsetof(CCommandDataWrapper<char>, payload) == 12, "record layout");
static_assert(sizeof(CCommandDataWrapper<char>) == 13, "record layout");

// The notice that the explorer is ending.
constexpr CCommandDataWrapper<char> kExplorerQuitNotice = {CMD_EXPLORER_QUIT, 0, 13, 0};
