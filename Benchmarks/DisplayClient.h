// A client of the X server that examines what another program shows, to measure from outside when
// its window is up. It speaks the few requests it needs itself, so that the benchmark needs no
// library that the programs do not need. One thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class DisplayClient {
public:
    // display: ":7", a server on this machine that asks for no authorisation. Null when it does not
    // answer.
    static std::unique_ptr<DisplayClient> ConnectTo(const std::string &display);
    ~DisplayClient();
    DisplayClient(const DisplayClient &) = delete;
    DisplayClient &operator=(const DisplayClient &) = delete;

    // Stands for every pixel of the largest window that is mapped and no icon; 0 when there is
    // none.
    uint64_t Picture();

private:
    using Bytes = std::vector<unsigned char>;
    struct Window {
        uint32_t id = 0;
        uint16_t width = 0;
        uint16_t height = 0;
    };

    explicit DisplayClient(int connection) : _connection(connection) {}
    bool Send(const Bytes &request);
    bool Receive(unsigned char *bytes, size_t count);
    bool Begin();
    // The answer, with what follows its first 32 bytes; empty: an error.
    Bytes Ask(const Bytes &request);
    Window LargestWindow();

    int _connection;
    uint32_t _root = 0;
};
