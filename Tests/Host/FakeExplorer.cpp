// Plays an explorer for the host's tests. Its first argument says how: MODE:FILE.
#include "ChildChannel.h"
#include "Eventually.h"
#include "_MSG_DATA_PACKAGE.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr char kToExplorer[] = "/tmp/z5_btl_3";
constexpr char kToHost[] = "/tmp/z5_btl_4";

// Written under another name first, so that a file that is there is whole.
void Tell(const std::string &file, const std::string &text)
{
    std::ofstream(file + ".part") << text;
    rename((file + ".part").c_str(), file.c_str());
}

int TellArguments(const std::string &file, int argc, char *argv[])
{
    std::string text;
    for (int i = 2; i < argc; ++i)
        text += std::string(argv[i]) + "\n";
    Tell(file, text);
    return 0;
}

using vx::ChildChannel;

// The volume library's end of the channel; it ends with the process.
ChildChannel *TakeChannel(char *argv[], ChildChannel::Opening *opening)
{
    static ChildChannel channel(ChildChannel::Inherited(argv[3]));
    if (!channel.ReadOpening(opening, std::chrono::seconds(10)))
        exit(1);
    return &channel;
}

// Tells what it is to open.
int TellOpening(const std::string &file, char *argv[])
{
    ChildChannel::Opening opening;
    TakeChannel(argv, &opening);
    const vx::ChannelOpening &texts = opening.Texts();
    Tell(file, std::string(texts.volume) + "\n" + texts.kind + "\n" + texts.secret + "\n");
    return 0;
}

vx::ChannelDamage DamageOf(const std::string &path)
{
    vx::ChannelDamage damage;
    damage.path = path;
    damage.ranges = {{0, 512}, {4096, 1024}};
    return damage;
}

// Reports what was noticed of a volume.
int ReportDamage(char *argv[])
{
    ChildChannel::Opening opening;
    ChildChannel *channel = TakeChannel(argv, &opening);
    channel->Report(vx::ChannelOpened{22, ""});
    channel->Report(DamageOf("/a\x1b[2J.txt"));
    vx::ChannelDamage folder;
    folder.kind = vx::ChannelDamageKind::kFolder;
    folder.path = "/folder";
    channel->Report(folder);
    return channel->SendKept(std::chrono::seconds(10)) ? 0 : 1;
}

// Opens the volume, as the trial did, and meets damage.
void ReportFolder(ChildChannel *channel)
{
    vx::ChannelDamage folder;
    folder.kind = vx::ChannelDamageKind::kFolder;
    folder.path = "/folder";
    channel->Report(vx::ChannelOpened{0, "noticed\n"});
    channel->Report(folder);
}

// Opens the volume, and notices more than the trial did.
int ReportMoreWarnings(char *argv[])
{
    ChildChannel::Opening opening;
    ChildChannel *channel = TakeChannel(argv, &opening);
    channel->Report(vx::ChannelOpened{0, "noticed\nnoticed later\n"});
    channel->SayFarewell();
    return 0;
}

int ReportOpened(char *argv[])
{
    ChildChannel::Opening opening;
    ChildChannel *channel = TakeChannel(argv, &opening);
    ReportFolder(channel);
    channel->SayFarewell();
    return 0;
}

// Reports more than the channel holds, whether or not the host reads; then tells that it has gone
// on.
int ReportWithoutEnd(const std::string &file, char *argv[])
{
    ChildChannel::Opening opening;
    ChildChannel *channel = TakeChannel(argv, &opening);
    Tell(file, std::to_string(getpid()));
    if (!Eventually([&] { return access((file + ".go").c_str(), F_OK) == 0; }))
        return 1;
    channel->Report(vx::ChannelOpened{0, ""});
    constexpr int kReports = 20000;
    for (int i = 0; i < kReports; ++i)
        channel->Report(DamageOf("/folder/a long enough name " + std::to_string(i)));
    Tell(file + ".done", channel->HasEnded() ? "ended" : "open");
    return channel->SendKept(std::chrono::seconds(10)) ? 0 : 1;
}

// Reports faster than a host can say it.
[[noreturn]] void ReportForEver(const std::string &file, char *argv[])
{
    ChildChannel::Opening opening;
    ChildChannel *channel = TakeChannel(argv, &opening);
    channel->Report(vx::ChannelOpened{0, ""});
    Tell(file, std::to_string(getpid()));
    for (;;) {
        channel->Report(DamageOf("/folder/name"));
        channel->SendKept(std::chrono::seconds(10));
    }
}

// Ends within a report: with 255 bytes to come it has sent two.
int ReportInPart(char *argv[])
{
    const char bytes[] = {2, 0, 0, 0, '\xff', 0, 0, 0, 'a', 'b'};
    const int descriptor = atoi(argv[3]);
    return write(descriptor, bytes, sizeof(bytes)) == sizeof(bytes) ? 0 : 1;
}

// Tells the descriptors of a program that this one starts.
int TellDescriptorsOfChild(const std::string &file, char *argv[])
{
    ChildChannel::Opening opening;
    TakeChannel(argv, &opening);
    return system(("ls /dev/fd/ | tr '\\n' ' ' > '" + file + ".part' && mv '" + file + ".part' '" +
                   file + "'")
                      .c_str());
}

int TellPidAndWait(const std::string &file)
{
    Tell(file, std::to_string(getpid()));
    for (;;)
        pause();
}

int OpenLink()
{
    int host = -1;
    Eventually([&] { return (host = open(kToHost, O_WRONLY | O_NONBLOCK)) != -1; });
    return host;
}

bool SendNotice(int host)
{
    _MSG_DATA_PACKAGE message = {};
    message.msgId = kAsyncMessageId;
    message.body[0] = 12;
    return write(host, &message, sizeof(message)) == sizeof(message);
}

// Messages of other codes, known and unknown ones.
int SendOthers()
{
    const int host = OpenLink();
    bool isSent = true;
    for (const int code : {5, 11, 13, 200}) {
        _MSG_DATA_PACKAGE message = {};
        message.msgId = kAsyncMessageId;
        message.body[0] = static_cast<char>(code);
        isSent = isSent && write(host, &message, sizeof(message)) == sizeof(message);
    }
    return isSent ? 0 : 1;
}

// Ends well, but the volume is damaged or, with a status, stayed shut.
int SendNoticeAfter(char *argv[], int32_t status)
{
    ChildChannel::Opening opening;
    ChildChannel *channel = TakeChannel(argv, &opening);
    if (status == 0)
        ReportFolder(channel);
    else
        channel->Report(vx::ChannelOpened{status, ""});
    channel->SayFarewell();
    const bool isSent = channel->SendKept(std::chrono::seconds(10)) && SendNotice(OpenLink());
    return isSent ? 0 : 1;
}

// Ends as if its library could not say all that it knows.
int OpenWithoutFarewell(char *argv[])
{
    ChildChannel::Opening opening;
    TakeChannel(argv, &opening)->Report(vx::ChannelOpened{0, ""});
    return 0;
}

// After its notice it waits until it may go on, reports much and ends.
int SendNoticeThenReports(const std::string &file, char *argv[])
{
    ChildChannel::Opening opening;
    ChildChannel *channel = TakeChannel(argv, &opening);
    channel->Report(vx::ChannelOpened{0, ""});
    if (!SendNotice(OpenLink()))
        return 1;
    Tell(file, std::to_string(getpid()));
    if (!Eventually([&] { return access((file + ".go").c_str(), F_OK) == 0; }))
        return 1;
    for (int i = 0; i < 100; ++i)
        channel->Report(DamageOf("/late"));
    channel->SayFarewell();
    return channel->SendKept(std::chrono::seconds(10)) ? 0 : 1;
}

int SendNoticeAndWait()
{
    if (!SendNotice(OpenLink()))
        return 1;
    for (;;)
        pause();
}

// The file is there until the notice has been sent at the end of input; FILE.notice then says
// whether anybody reads it.
int SendNoticeAtEnd(const std::string &file)
{
    signal(SIGPIPE, SIG_IGN);
    const int host = OpenLink();
    Tell(file, "ready");
    char byte;
    while (read(STDIN_FILENO, &byte, 1) > 0) {
    }
    Tell(file + ".notice", SendNotice(host) ? "sent" : "lost");
    unlink(file.c_str());
    return 0;
}

// All but that of the channel, which is told last.
int TellDescriptors(const std::string &file, char *argv[])
{
    std::string text;
    std::string channel;
    for (int descriptor = 0; descriptor < 1024; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) == -1)
            continue;
        const std::string number = std::to_string(descriptor);
        (number == argv[3] ? channel : text) += number == argv[3] ? "channel" : number + " ";
    }
    Tell(file, text + channel);
    return 0;
}

// Tells the id, the code and the length of the message that the host sends.
int TellMessage(const std::string &file)
{
    const int host = open(kToExplorer, O_RDONLY | O_NONBLOCK);
    uint32_t words[kPipeMessageSize / 4] = {};
    const bool came = Eventually([&] { return read(host, words, sizeof(words)) == sizeof(words); });
    Tell(file, std::to_string(words[0]) + " " + std::to_string(words[1]) + " " +
                   std::to_string(words[3]));
    return came ? 0 : 1;
}

}  // namespace

int main(int argc, char *argv[])
{
    const std::string how = argc > 1 ? argv[1] : "";
    const std::string mode = how.substr(0, how.find(':'));
    const std::string file = how.substr(how.find(':') + 1);
    if (mode == "arguments")
        return TellArguments(file, argc, argv);
    if (mode == "wait")
        return TellPidAndWait(file);
    if (mode == "notice-and-wait")
        return SendNoticeAndWait();
    if (mode == "notice-at-end")
        return SendNoticeAtEnd(file);
    if (mode == "descriptors")
        return TellDescriptors(file, argv);
    if (mode == "opening")
        return TellOpening(file, argv);
    if (mode == "opening-and-wait")
        return TellOpening(file, argv) == 0 ? TellPidAndWait(file + ".pid") : 1;
    if (mode == "opened")
        return ReportOpened(argv);
    if (mode == "opened-and-wait")
        return OpenWithoutFarewell(argv) == 0 ? TellPidAndWait(file) : 1;
    if (mode == "opened-with-more")
        return ReportMoreWarnings(argv);
    if (mode == "damage-and-notice")
        return SendNoticeAfter(argv, 0);
    if (mode == "shut-and-notice")
        return SendNoticeAfter(argv, 22);
    if (mode == "notice-then-reports")
        return SendNoticeThenReports(file, argv);
    if (mode == "no-farewell")
        return OpenWithoutFarewell(argv);
    if (mode == "no-farewell-and-notice")
        return OpenWithoutFarewell(argv) == 0 && SendNotice(OpenLink()) ? 0 : 1;
    if (mode == "others")
        return SendOthers();
    if (mode == "damage")
        return ReportDamage(argv);
    if (mode == "flood")
        return ReportWithoutEnd(file, argv);
    if (mode == "endless")
        ReportForEver(file, argv);
    if (mode == "cut")
        return ReportInPart(argv);
    if (mode == "child-descriptors")
        return TellDescriptorsOfChild(file, argv);
    if (mode == "message")
        return TellMessage(file);
    if (mode == "crash")
        raise(SIGKILL);
    return 3;
}
