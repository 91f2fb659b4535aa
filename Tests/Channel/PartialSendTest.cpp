// A socket that takes a message in parts. Linux takes one of the key's size whole or not at all,
// other systems may not; so send() is a stand-in here, for the whole program.
#include "ChannelPeer.h"
#include "ChildChannel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>

namespace {

// How many bytes the socket still takes.
std::atomic<long> g_room{LONG_MAX};

}  // namespace

extern "C" ssize_t send(int descriptor, const void *bytes, size_t size, int flags)
{
    const long room = g_room;
    if (room == 0 && size > 0) {
        errno = EAGAIN;
        return -1;
    }
    const size_t most = std::min(size, static_cast<size_t>(room));
    const ssize_t sent = sendto(descriptor, bytes, most, flags, nullptr, 0);
    if (room != LONG_MAX && sent > 0)
        g_room = room - sent;
    return sent;
}

namespace vx {
namespace {

class PartialSend : public testing::Test {
protected:
    ~PartialSend() override { g_room = LONG_MAX; }

    static ChannelDamage Damage() { return {ChannelDamageKind::kFileClosed, 8, "/a", {}, 0}; }
};

TEST_F(PartialSend, OfTheMasterKeyIsCompletedBeforeAnotherReportGoes)
{
    const std::string bytes(kMostChannelKey, 'k');
    const std::string key = Message(6, bytes);
    const std::string damage = Message(4, U32(2) + U32(8) + Text("/a") + U32(0) + U64(0));
    for (size_t length = 1; length < key.size(); ++length) {
        RawPair pair;
        ChildChannel child(std::move(pair.one));
        g_room = static_cast<long>(length);
        child.Report(ChannelMasterKey{ProtectedBytes(bytes.data(), bytes.size())});
        child.Report(Damage());
        ASSERT_EQ(TakeAll(pair.other.Get()), key.substr(0, length));
        g_room = LONG_MAX;
        ASSERT_TRUE(child.SendKept());
        ASSERT_EQ(TakeAll(pair.other.Get()), key.substr(length) + damage) << length;
    }
}

TEST_F(PartialSend, OfAReportIsCompletedBeforeTheMasterKeyGoes)
{
    const std::string bytes(kMostChannelKey, 'k');
    const std::string damage = Message(4, U32(2) + U32(8) + Text("/a") + U32(0) + U64(0));
    for (size_t length = 1; length < damage.size(); ++length) {
        RawPair pair;
        ChildChannel child(std::move(pair.one));
        g_room = static_cast<long>(length);
        child.Report(Damage());
        child.Report(ChannelMasterKey{ProtectedBytes(bytes.data(), bytes.size())});
        g_room = LONG_MAX;
        ASSERT_TRUE(child.SendKept());
        ASSERT_EQ(TakeAll(pair.other.Get()), damage + Message(6, bytes)) << length;
    }
}

}  // namespace
}  // namespace vx
