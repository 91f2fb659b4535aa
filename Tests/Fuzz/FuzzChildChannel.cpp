// Fuzz target: any bytes from a host that ends then. The library reads an opening within the
// limits, which a host can send again, or none; it never waits.
#include "ChildChannel.h"
#include "HostChannel.h"
#include "Require.h"

#include <cstring>
#include <sys/socket.h>
#include <unistd.h>

namespace {

void RequireSame(const char *one, const char *other)
{
    Require(strlen(one) <= vx::kMostChannelText, "a text is within its limit");
    Require(strcmp(one, other) == 0, "it arrives once more");
}

void SendAgain(const vx::ChannelOpening &texts)
{
    vx::HostChannel host;
    Require(host.Prepare(texts), "what was read can be sent");
    vx::ChildChannel child(vx::UniqueFd(dup(host.ChildDescriptor())));
    vx::ChildChannel::Opening opening;
    Require(child.ReadOpening(&opening, std::chrono::seconds(0)), "and read");
    RequireSame(texts.volume, opening.Texts().volume);
    RequireSame(texts.kind, opening.Texts().kind);
    RequireSame(texts.secret, opening.Texts().secret);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    int ends[2];
    Require(socketpair(AF_UNIX, SOCK_STREAM, 0, ends) == 0, "a pair can be made");
    vx::UniqueFd host(ends[0]);
    vx::ChildChannel child{vx::UniqueFd(ends[1])};
    (void)send(host.Get(), data, size, MSG_DONTWAIT | MSG_NOSIGNAL);
    host.Close();
    vx::ChildChannel::Opening opening;
    if (child.ReadOpening(&opening, std::chrono::hours(1)))
        SendAgain(opening.Texts());
    Require(child.HasEnded(), "the host has ended");
    return 0;
}
