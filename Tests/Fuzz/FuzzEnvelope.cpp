// Fuzz target: any message body. The envelope treats it as its table says, and a record that it
// accepts can be sent on unchanged. The body is a heap block of its own, so that the sanitizer
// reports any read beyond it.
#include "CPipeDataWrapper.h"
#include "Require.h"
#include "_MSG_DATA_PACKAGE.h"

#include <algorithm>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::unique_ptr<char[]> body(new char[kPipeBodySize]());
    memcpy(body.get(), data, std::min(size, kPipeBodySize));
    uint32_t code;
    memcpy(&code, body.get(), sizeof(code));
    const unsigned length = CPipeDataWrapper::GetCommandDataLen(code);

    CPipeDataWrapper received;
    const bool known = received.InitializeWithPipeMessage(body.get());
    Require(known == (code >= 1 && code <= 12), "only the codes 1 to 12 are known");
    Require(known == (received.getCommandDataWrapper() != nullptr), "a record if it is known");
    if (!known)
        return 0;
    Require(memcmp(received.getCommandDataWrapper(), body.get(), length) == 0, "a true copy");

    // The copy is exactly as long as the table says, so that a read beyond it is reported too.
    CPipeDataWrapper sent;
    Require(sent.InitializeWithCmdDataWrapper(received.getCommandDataWrapper()), "it can be sent");
    Require(memcmp(sent.getMessage(), body.get(), length) == 0, "the message begins with it");
    const char *end = sent.getMessage() + CPipeDataWrapper::kMessageSize;
    Require(std::all_of(sent.getMessage() + length, end, [](char c) { return c == 0; }),
            "zeros follow");
    return 0;
}
