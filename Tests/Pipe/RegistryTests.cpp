// The server's and the client's registries, and their creator.
#include "libPipe.h"

#include "Eventually.h"
#include "LinkFixture.h"
#include "PipeFolder.h"
#include "RawPeer.h"
#include "RecordingSink.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <future>
#include <memory>
#include <unistd.h>

namespace {

class RegistryTest : public testing::Test {
protected:
    // A server's connector on FIFOs whose names begin with `prefix`.
    bool AddToServer(const std::string &name, const std::string &prefix)
    {
        return _server->addConnector(name, _folder.At(prefix + "-in").c_str(), kReadFlags,
                                     _folder.At(prefix + "-out").c_str(), kWriteFlags);
    }

    bool AddToClient(const std::string &name)
    {
        return _client->addConnector(name, _folder.ToClient().c_str(), kReadFlags,
                                     _folder.ToServer().c_str(), kWriteFlags);
    }

    bool BothExist(const std::string &prefix) const
    {
        return PipeFolder::Exists(_folder.At(prefix + "-in")) &&
               PipeFolder::Exists(_folder.At(prefix + "-out"));
    }

    bool NeitherExists(const std::string &prefix) const
    {
        return !PipeFolder::Exists(_folder.At(prefix + "-in")) &&
               !PipeFolder::Exists(_folder.At(prefix + "-out"));
    }

    // One message, once the FIFO has a reader.
    static void WriteTo(const std::string &path)
    {
        int writer = -1;
        ASSERT_TRUE(
            Eventually([&] { return (writer = open(path.c_str(), O_WRONLY | O_NONBLOCK)) != -1; }));
        const _MSG_DATA_PACKAGE message = Message(1, "text");
        EXPECT_EQ(write(writer, &message, sizeof(message)), ssize_t(sizeof(message)));
        close(writer);
    }

    PipeFolder _folder;
    RecordingSink _sink;
    std::unique_ptr<ILibPipeServer> _server{
        CLibPipeConnectionCreator::createLibPipeServer(&_sink, kFast)};
    std::unique_ptr<ILibPipeClient> _client{
        CLibPipeConnectionCreator::createLibPipeClient(&_sink, kFast)};
};

TEST_F(RegistryTest, CreateLibPipeClientWithANullSinkReturnsNull)
{
    EXPECT_EQ(CLibPipeConnectionCreator::createLibPipeClient(nullptr), nullptr);
}

TEST_F(RegistryTest, CreateLibPipeServerWithANullSinkReturnsNull)
{
    EXPECT_EQ(CLibPipeConnectionCreator::createLibPipeServer(nullptr), nullptr);
}

TEST_F(RegistryTest, AnUnknownNameOnTheServerIsNullToGetAndNothingToRemove)
{
    EXPECT_EQ(_server->getConnector("unknown"), nullptr);
    _server->removeConnector("unknown");
    ASSERT_TRUE(AddToServer("known", "k"));
    _server->removeConnector("unknown");
    EXPECT_NE(_server->getConnector("known"), nullptr);
}

TEST_F(RegistryTest, TheServerGivesEachConnectorBackByItsName)
{
    ASSERT_TRUE(AddToServer("one", "1"));
    ASSERT_TRUE(AddToServer("two", "2"));
    EXPECT_EQ(_server->getConnector("one")->GetName(), "one");
    EXPECT_EQ(_server->getConnector("two")->GetName(), "two");
}

TEST_F(RegistryTest, AfterRemoveConnectorOnTheServerBothFifoPathsAreGone)
{
    ASSERT_TRUE(AddToServer("one", "1"));
    ASSERT_TRUE(AddToServer("two", "2"));
    ASSERT_TRUE(Eventually([this] { return BothExist("1") && BothExist("2"); }));
    _server->removeConnector("one");
    EXPECT_TRUE(NeitherExists("1"));
    EXPECT_TRUE(BothExist("2"));
    EXPECT_EQ(_server->getConnector("one"), nullptr);
}

TEST_F(RegistryTest, AConnectorRemovedAtOnceLeavesNoFifoBehind)
{
    for (int i = 0; i < 200; ++i) {
        ASSERT_TRUE(AddToServer("brief", "b"));
        _server->removeConnector("brief");
        ASSERT_TRUE(NeitherExists("b")) << "its reader made the FIFO anew";
    }
}

TEST_F(RegistryTest, RemoveAllConnectorRemovesEveryPairOfFifos)
{
    ASSERT_TRUE(AddToServer("one", "1"));
    ASSERT_TRUE(AddToServer("two", "2"));
    ASSERT_TRUE(Eventually([this] { return BothExist("1") && BothExist("2"); }));
    _server->removeAllConnector();
    EXPECT_TRUE(NeitherExists("1"));
    EXPECT_TRUE(NeitherExists("2"));
    EXPECT_EQ(_server->getConnector("one"), nullptr);
}

// The sink blocks the second connector's thread, and with it the removal of that connector.
TEST_F(RegistryTest, ConnectorsAreRemovedInTheOrderOfTheirNames)
{
    std::promise<void> mayGoOn;
    _sink.OnMessage([wait = mayGoOn.get_future().share()](const auto &) { wait.wait(); });
    ASSERT_TRUE(AddToServer("b", "2"));
    ASSERT_TRUE(AddToServer("a", "1"));
    ASSERT_TRUE(AddToServer("c", "3"));
    ASSERT_TRUE(Eventually([this] { return BothExist("1") && BothExist("2") && BothExist("3"); }));
    WriteTo(_folder.At("2-in"));
    ASSERT_TRUE(_sink.AwaitCount(1));
    auto removal = std::async(std::launch::async, [this] { _server->removeAllConnector(); });
    EXPECT_TRUE(Eventually([this] { return NeitherExists("1"); }));
    EXPECT_TRUE(BothExist("3"));
    mayGoOn.set_value();
    removal.wait();
    EXPECT_TRUE(NeitherExists("2"));
    EXPECT_TRUE(NeitherExists("3"));
}

TEST_F(RegistryTest, AConnectorThatIsRefusedGetsNoSink)
{
    RecordingSink other;
    CPipeServer server(&_sink);
    ASSERT_TRUE(server.AddConnector(new CPipeConnector("one", kFast)));
    CPipeConnector refused("one", kFast);
    const std::string in = _folder.At("in");
    ASSERT_TRUE(
        refused.initPipeConnection(in.c_str(), kReadFlags, _folder.At("out").c_str(), kWriteFlags));
    EXPECT_FALSE(server.AddConnector(&refused));
    ASSERT_TRUE(Eventually([&] { return PipeFolder::Exists(in); }));
    const FifoReader beside(in);
    WriteTo(in);
    ASSERT_TRUE(Eventually([&] { return !beside.HasInput(); }));
    refused.SetMsgHander(&other);
    EXPECT_TRUE(other.AwaitCount(1));
    EXPECT_EQ(_sink.Count(), 0u);
    refused.SetMsgHander(nullptr);
}

TEST_F(RegistryTest, DeletingTheServerRemovesEveryPairOfFifos)
{
    ASSERT_TRUE(AddToServer("one", "1"));
    ASSERT_TRUE(Eventually([this] { return BothExist("1"); }));
    _server.reset();
    EXPECT_TRUE(NeitherExists("1"));
}

TEST_F(RegistryTest, ASecondConnectorOfANameIsRefusedAndLeavesTheFirstAlone)
{
    ASSERT_TRUE(AddToServer("one", "1"));
    IIPCConnector *first = _server->getConnector("one");
    EXPECT_FALSE(AddToServer("one", "other"));
    EXPECT_EQ(_server->getConnector("one"), first);
    EXPECT_TRUE(NeitherExists("other"));
}

TEST_F(RegistryTest, APathThatIsTooLongIsRefusedByBothSides)
{
    const std::string overlong(CPipeWrapper::kPathSize, 'p');
    EXPECT_FALSE(_server->addConnector("one", overlong.c_str(), kReadFlags, "b", kWriteFlags));
    EXPECT_EQ(_server->getConnector("one"), nullptr);
    EXPECT_FALSE(_client->addConnector("one", overlong.c_str(), kReadFlags, "b", kWriteFlags));
    EXPECT_EQ(_client->getConnector(), nullptr);
}

TEST_F(RegistryTest, AddConnectorOfNullIsFalse)
{
    EXPECT_FALSE(CPipeServer(&_sink).AddConnector(nullptr));
    EXPECT_FALSE(CPipeClient(&_sink).AddConnector(nullptr));
}

TEST_F(RegistryTest, AConnectorRefusedByTheServersRegistryStaysTheCallers)
{
    CPipeServer server(&_sink);
    ASSERT_TRUE(server.AddConnector(new CPipeConnector("one")));
    CPipeConnector refused("one");
    EXPECT_FALSE(server.AddConnector(&refused));
    EXPECT_EQ(refused.GetName(), "one");
}

TEST_F(RegistryTest, TheClientHasNoConnectorBeforeAddConnector)
{
    EXPECT_EQ(_client->getConnector(), nullptr);
    _client->removeConnector();
    EXPECT_EQ(_client->getConnector(), nullptr);
}

TEST_F(RegistryTest, TheClientKeepsOneConnectorAndASecondReplacesIt)
{
    ASSERT_TRUE(AddToClient("first"));
    ASSERT_TRUE(AddToClient("second"));
    EXPECT_EQ(_client->getConnector()->GetName(), "second");
    // The first one's reader is gone: every message is taken in turn by the second.
    RawPeer peer(_folder);
    for (int i = 0; i < 10; ++i)
        ASSERT_TRUE(peer.Write(Message(1, std::to_string(i))));
    ASSERT_TRUE(_sink.AwaitCount(10));
    for (size_t i = 0; i < 10; ++i)
        EXPECT_EQ(_sink.At(i).from, _client->getConnector());
}

TEST_F(RegistryTest, TheClientsRegistryMayBeGivenTheConnectorThatItHolds)
{
    CPipeClient client(&_sink);
    auto *connector = new CPipeConnector("one");
    ASSERT_TRUE(client.AddConnector(connector));
    ASSERT_TRUE(client.AddConnector(connector));
    EXPECT_EQ(client.GetConnector("any name"), connector);
}

TEST_F(RegistryTest, RemovingTheClientsConnectorKeepsTheFifoFiles)
{
    RawPeer peer(_folder);
    ASSERT_TRUE(AddToClient("one"));
    _client->removeConnector();
    EXPECT_EQ(_client->getConnector(), nullptr);
    EXPECT_TRUE(PipeFolder::Exists(_folder.ToClient()));
    EXPECT_TRUE(PipeFolder::Exists(_folder.ToServer()));
}

TEST_F(RegistryTest, DeletingTheClientClosesBothEndsAndKeepsTheFifoFiles)
{
    RawPeer peer(_folder);
    ASSERT_TRUE(AddToClient("one"));
    ASSERT_TRUE(peer.Write(Message(1, "m")));
    ASSERT_TRUE(_sink.AwaitCount(1));
    _client.reset();
    EXPECT_EQ(open(_folder.ToClient().c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC), -1);
    EXPECT_TRUE(PipeFolder::Exists(_folder.ToClient()));
    EXPECT_TRUE(PipeFolder::Exists(_folder.ToServer()));
}

TEST_F(RegistryTest, AConnectorOutlivesItsDeletedClientAndRefusesToSend)
{
    RawPeer peer(_folder);
    ASSERT_TRUE(AddToClient("one"));
    IIPCConnector *connector = _client->getConnector();
    _client.reset();
    const std::string data = Padded("late");
    EXPECT_FALSE(connector->SendMsg_async(data.data(), kWholeMessage, 1));
    EXPECT_EQ(connector->GetName(), "one");
    EXPECT_FALSE(peer.HasInput());
}

TEST_F(RegistryTest, ADeletedClientNeverMakesAFifoAnew)
{
    ASSERT_TRUE(AddToClient("one"));
    IIPCConnector *connector = _client->getConnector();
    _client.reset();
    unlink(_folder.ToClient().c_str());
    unlink(_folder.ToServer().c_str());
    const std::string data = Padded("late");
    EXPECT_FALSE(connector->SendMsg_async(data.data(), kWholeMessage, 1));
    EXPECT_FALSE(PipeFolder::Exists(_folder.ToClient()));
    EXPECT_FALSE(PipeFolder::Exists(_folder.ToServer()));
}

TEST_F(RegistryTest, AfterTheClientIsDeletedItsSinkIsNeverCalled)
{
    for (int i = 0; i < 50; ++i) {
        auto sink = std::make_unique<RecordingSink>();
        std::unique_ptr<ILibPipeClient> client(
            CLibPipeConnectionCreator::createLibPipeClient(sink.get(), kFast));
        ASSERT_TRUE(client->addConnector("one", _folder.ToClient().c_str(), kReadFlags,
                                         _folder.ToServer().c_str(), kWriteFlags));
        RawPeer peer(_folder);
        ASSERT_TRUE(peer.Write(Message(1, "one")));
        ASSERT_TRUE(peer.Write(Message(1, "two")));
        client.reset();
        sink.reset();  // a call after this is a use after free
    }
}

TEST_F(RegistryTest, AServerAndAClientTalkCrosswise)
{
    RecordingSink serverSink;
    std::unique_ptr<ILibPipeServer> server(
        CLibPipeConnectionCreator::createLibPipeServer(&serverSink, kFast));
    serverSink.OnMessage([](const RecordingSink::Received &received) {
        const std::string reply = Padded("reply to " + std::string(received.body.c_str()));
        received.from->SendMsg_async(reply.data(), kWholeMessage, received.id);
    });
    ASSERT_TRUE(server->addConnector("host", _folder.ToServer().c_str(), kReadFlags,
                                     _folder.ToClient().c_str(), kWriteFlags));
    ASSERT_TRUE(AddToClient(UniqueName()));
    std::string reply(kPipeMessageSize, 'x');
    const std::string request = Padded("request");
    ASSERT_TRUE(_client->getConnector()->SendMsg_sync(request.data(), kWholeMessage, reply.data(),
                                                      kWholeMessage, 4000));
    EXPECT_EQ(reply, Padded("reply to request"));
}

}  // namespace
