#include "CPipeDataWrapper.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr unsigned kHeaderLength = offsetof(CCommandDataWrapper<char>, payload);
constexpr unsigned kLongestRecord = 508;

// Indexed by code less 1. The host application defines the codes 1 to 11; until one of them is
// given a meaning here, its record is the header alone, the shortest that a record can be, so
// that no copy reads past what a sender holds.
constexpr unsigned kRecordLengths[] = {
    kHeaderLength, kHeaderLength, kHeaderLength, kHeaderLength,
    kHeaderLength, kHeaderLength, kHeaderLength, kHeaderLength,
    kHeaderLength, kHeaderLength, kHeaderLength, sizeof(kExplorerQuitNotice),
};
constexpr uint32_t kCodes = sizeof(kRecordLengths) / sizeof(kRecordLengths[0]);

constexpr bool EveryRecordFitsAMessage()
{
    for (unsigned length : kRecordLengths)
        if (length < kHeaderLength || length > kLongestRecord)
            return false;
    return true;
}

static_assert(kCodes == CMD_EXPLORER_QUIT, "one length for each code");
static_assert(EveryRecordFitsAMessage(), "a record has a header and fits a message body");

// assert() is not there in release builds; a null argument must stop every build. The source
// and line in the message are fixed; they name the two checks in crash reports.
void RequireArgument(const void *argument, const char *name, const char *function, int line)
{
    if (argument)
        return;
    fprintf(stderr,
            "Assertion failed: (%s), function %s, file Include/CPipeDataWrapper, line %d.\n", name,
            function, line);
    abort();
}

uint32_t CodeOf(const char *record)
{
    uint32_t code;
    memcpy(&code, record, sizeof(code));
    return code;
}

}  // namespace

unsigned CPipeDataWrapper::GetCommandDataLen(uint32_t code)
{
    return code >= 1 && code <= kCodes ? kRecordLengths[code - 1] : 0;
}

bool CPipeDataWrapper::InitializeWithCmdDataWrapper(const CCommandDataWrapper<char> *pData)
{
    RequireArgument(pData, "pData", "InitializeWithCmdDataWrapper", 27);
    if (!CopyRecord(reinterpret_cast<const char *>(pData)))
        return false;
    memset(_message, 0, sizeof(_message));
    memcpy(_message, _command.get(), GetCommandDataLen(CodeOf(_command.get())));
    return true;
}

bool CPipeDataWrapper::InitializeWithPipeMessage(const char *message)
{
    RequireArgument(message, "message", "InitializeWithPipeMessage", 116);
    return CopyRecord(message);
}

const CCommandDataWrapper<char> *CPipeDataWrapper::getCommandDataWrapper() const
{
    return reinterpret_cast<const CCommandDataWrapper<char> *>(_command.get());
}

bool CPipeDataWrapper::CopyRecord(const char *record)
{
    const unsigned length = GetCommandDataLen(CodeOf(record));
    if (length == 0) {
        _command.reset();
        return false;
    }
    std::unique_ptr<char[]> copy(new char[length]);
    memcpy(copy.get(), record, length);
    _command = std::move(copy);
    return true;
}
