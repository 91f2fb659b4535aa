// The envelope of a command record: turns a record into the message text that a connector
// sends, and the body of a received message into an owned copy of its record.
//
// Lengths: a record is as long as the table says for its code. The record's own length field
// is never used. A record handed in must therefore be at least as
// long as the table says, and a message body is 508 bytes, longer than any record.
// Ownership: the envelope owns its copy of the record; getMessage and getCommandDataWrapper
// return pointers that are valid until the envelope is initialised again or destroyed.
// Threads: one at a time. Nothing is shared between envelopes.
// Errors: an unknown code gives false and no record. A null argument is a programming error
// and stops the process, in every build, with a line on standard error that names it.
#pragma once

#include "CCommandDataWrapper.h"

#include <cstddef>
#include <cstdint>
#include <memory>

class CPipeDataWrapper {
public:
    // The message text: 512 bytes and a terminating zero.
    static constexpr size_t kMessageSize = 513;

    // The length in bytes of the whole record of a code: 0 for a code outside 1 to 12.
    static unsigned GetCommandDataLen(uint32_t code);

    // For sending: copies the record and fills the message text. An unknown code drops the
    // record held before and leaves the message text as it was.
    bool InitializeWithCmdDataWrapper(const CCommandDataWrapper<char> *pData);
    // For receiving: message is the body of a pipe message, after the message id. Copies the
    // record; the message text stays as it was.
    bool InitializeWithPipeMessage(const char *message);

    // 513 bytes: the record, followed by zeros.
    const char *getMessage() const { return _message; }
    // The owned copy, exactly as many bytes as the table says; null while there is none.
    const CCommandDataWrapper<char> *getCommandDataWrapper() const;

private:
    bool CopyRecord(const char *record);

    std::unique_ptr<char[]> _command;
    char _message[kMessageSize] = {};
};
