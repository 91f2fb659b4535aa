// A connector on two FIFOs of a folder of its own, with the bare FIFOs at the other end.
#pragma once

#include "CPipeConnector.h"

#include "Eventually.h"
#include "LinkFixture.h"
#include "PipeFolder.h"
#include "RawPeer.h"
#include "RecordingSink.h"

#include <gtest/gtest.h>

#include <memory>

class ConnectorTest : public testing::Test {
protected:
    // Registered, as the registries do it, after the set-up.
    void Connect()
    {
        ASSERT_TRUE(Init(*_connector));
        _connector->SetMsgHander(&_sink);
    }

    bool Init(CPipeConnector &connector)
    {
        return connector.initPipeConnection(_folder.ToClient().c_str(), kReadFlags,
                                            _folder.ToServer().c_str(), kWriteFlags);
    }

    bool SendAsync(const std::string &data, int id = kAsyncMessageId)
    {
        return _connector->SendMsg_async(data.data(), static_cast<int>(data.size()), id);
    }

    // The reply's 512 bytes; nothing if the send returned false.
    std::optional<std::string> Request(const std::string &data, int timeout)
    {
        std::string reply(kPipeMessageSize, 'x');
        const std::string block = Padded(data);
        if (!_connector->SendMsg_sync(block.data(), kWholeMessage, reply.data(), kWholeMessage,
                                      timeout))
            return std::nullopt;
        return reply;
    }

    // Far longer than any test takes.
    static constexpr int kLong = 4000;
    const std::string _noReply = std::string(kPipeMessageSize, '\0');

    PipeFolder _folder;
    RecordingSink _sink;
    const std::string _name = UniqueName();
    std::unique_ptr<CPipeConnector> _connector = std::make_unique<CPipeConnector>(_name, kFast);
};
