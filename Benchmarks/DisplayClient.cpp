#include "DisplayClient.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

// Places and values of the X protocol, version 11, in the byte order of this machine.
constexpr size_t kAnswerHead = 32;
constexpr unsigned char kGetWindowAttributes = 3;
constexpr unsigned char kGetGeometry = 14;
constexpr unsigned char kQueryTree = 15;
constexpr unsigned char kGetImage = 73;
constexpr unsigned char kWholePixels = 2;
constexpr unsigned char kViewable = 2;
constexpr uint16_t kLargestIcon = 200;  // pixels

template <class Number>
Number At(const std::vector<unsigned char> &bytes, size_t place)
{
    Number number = 0;
    if (place + sizeof(number) <= bytes.size())
        memcpy(&number, bytes.data() + place, sizeof(number));
    return number;
}

template <class Number>
void Append(std::vector<unsigned char> &bytes, Number number)
{
    const size_t place = bytes.size();
    bytes.resize(place + sizeof(number));
    memcpy(bytes.data() + place, &number, sizeof(number));
}

std::vector<unsigned char> Request(unsigned char operation, unsigned char detail, uint16_t words,
                                   uint32_t window)
{
    std::vector<unsigned char> bytes = {operation, detail};
    Append(bytes, words);
    Append(bytes, window);
    return bytes;
}

uint64_t Fingerprint(const std::vector<unsigned char> &bytes, size_t start)
{
    uint64_t sum = 0x9e3779b97f4a7c15;
    for (size_t place = start; place + sizeof(uint64_t) <= bytes.size(); place += sizeof(uint64_t))
        sum = (sum ^ At<uint64_t>(bytes, place)) * 0x100000001b3;
    return sum == 0 ? 1 : sum;
}

}  // namespace

std::unique_ptr<DisplayClient> DisplayClient::ConnectTo(const std::string &display)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::string path = "/tmp/.X11-unix/X" + display.substr(display.find(':') + 1);
    if (path.size() >= sizeof(address.sun_path))
        return nullptr;
    memcpy(address.sun_path, path.c_str(), path.size());
    const int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connection < 0)
        return nullptr;
    std::unique_ptr<DisplayClient> client(new DisplayClient(connection));
    if (connect(connection, reinterpret_cast<sockaddr *>(&address), sizeof(address)) != 0 ||
        !client->Begin())
        return nullptr;
    return client;
}

DisplayClient::~DisplayClient()
{
    close(_connection);
}

uint64_t DisplayClient::Picture()
{
    const Window window = LargestWindow();
    if (window.id == 0)
        return 0;
    Bytes image = Request(kGetImage, kWholePixels, 5, window.id);
    Append<uint32_t>(image, 0);
    Append(image, window.width);
    Append(image, window.height);
    Append<uint32_t>(image, UINT32_MAX);
    const Bytes answer = Ask(image);
    return answer.empty() ? 0 : Fingerprint(answer, kAnswerHead);
}

DisplayClient::Window DisplayClient::LargestWindow()
{
    const Bytes tree = Ask(Request(kQueryTree, 0, 2, _root));
    Window largest;
    for (size_t i = 0; i < At<uint16_t>(tree, 16); ++i) {
        const uint32_t id = At<uint32_t>(tree, kAnswerHead + i * sizeof(uint32_t));
        const Bytes attributes = Ask(Request(kGetWindowAttributes, 0, 2, id));
        if (At<unsigned char>(attributes, 26) != kViewable)
            continue;
        const Bytes geometry = Ask(Request(kGetGeometry, 0, 2, id));
        const Window window = {id, At<uint16_t>(geometry, 16), At<uint16_t>(geometry, 18)};
        if (window.height > kLargestIcon &&
            window.width * window.height > largest.width * largest.height)
            largest = window;
    }
    return largest;
}

bool DisplayClient::Begin()
{
    const uint16_t one = 1;
    const bool littleEndian = *reinterpret_cast<const unsigned char *>(&one) == 1;
    Bytes greeting = {static_cast<unsigned char>(littleEndian ? 'l' : 'B'), 0};
    Append<uint16_t>(greeting, 11);
    greeting.resize(12);
    Bytes head(8);
    if (!Send(greeting) || !Receive(head.data(), head.size()) || head[0] != 1)
        return false;
    Bytes setup(size_t(4) * At<uint16_t>(head, 6));
    if (!Receive(setup.data(), setup.size()) || setup.size() < kAnswerHead)
        return false;
    const size_t vendor = (At<uint16_t>(setup, 16) + size_t(3)) & ~size_t(3);
    const size_t formats = size_t(8) * setup[21];
    _root = At<uint32_t>(setup, kAnswerHead + vendor + formats);
    return _root != 0;
}

bool DisplayClient::Send(const Bytes &request)
{
    size_t done = 0;
    while (done < request.size()) {
        const ssize_t count =
            ::send(_connection, request.data() + done, request.size() - done, MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        done += static_cast<size_t>(count);
    }
    return true;
}

bool DisplayClient::Receive(unsigned char *bytes, size_t count)
{
    while (count > 0) {
        const ssize_t got = read(_connection, bytes, count);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return false;
        bytes += got;
        count -= static_cast<size_t>(got);
    }
    return true;
}

DisplayClient::Bytes DisplayClient::Ask(const Bytes &request)
{
    constexpr unsigned char kError = 0, kAnswer = 1;
    Bytes answer(kAnswerHead);
    if (!Send(request))
        return {};
    // Some events come to every client, asked for or not.
    do {
        if (!Receive(answer.data(), kAnswerHead) || answer[0] == kError)
            return {};
    } while (answer[0] != kAnswer);
    const size_t more = size_t(4) * At<uint32_t>(answer, 4);
    answer.resize(kAnswerHead + more);
    return Receive(answer.data() + kAnswerHead, more) ? answer : Bytes();
}
