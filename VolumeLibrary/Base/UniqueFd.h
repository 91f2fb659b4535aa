// The owner of one file descriptor: closes it on destruction. Move-only.
// Threads: none of its own; one thread at a time, like any other value.
// Every descriptor of the library is opened close-on-exec before it is handed over.
#pragma once

namespace vx {

class UniqueFd {
public:
    UniqueFd() = default;
    // Takes over fd; a negative number means none.
    explicit UniqueFd(int fd) : _fd(fd) {}
    UniqueFd(const UniqueFd &) = delete;
    UniqueFd &operator=(const UniqueFd &) = delete;
    UniqueFd(UniqueFd &&other) noexcept : _fd(other.Release()) {}
    UniqueFd &operator=(UniqueFd &&other) noexcept;
    ~UniqueFd() { Close(); }

    explicit operator bool() const { return _fd >= 0; }
    int Get() const { return _fd; }

    // Gives the descriptor away; the caller closes it.
    int Release();

private:
    void Close();

    int _fd = -1;
};

}  // namespace vx
