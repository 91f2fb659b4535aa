// Plays an explorer for the host's tests. Its first argument says how: MODE:FILE.
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

int TellPidAndWait(const std::string &file)
{
    Tell(file, std::to_string(getpid()));
    for (;;)
        pause();
}

int SendNoticeAndWait()
{
    _MSG_DATA_PACKAGE message = {};
    message.msgId = kAsyncMessageId;
    message.body[0] = 12;
    int host = -1;
    Eventually([&] { return (host = open(kToHost, O_WRONLY | O_NONBLOCK)) != -1; });
    if (write(host, &message, sizeof(message)) != sizeof(message))
        return 1;
    for (;;)
        pause();
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
    if (mode == "message")
        return TellMessage(file);
    if (mode == "crash")
        raise(SIGKILL);
    return 3;
}
