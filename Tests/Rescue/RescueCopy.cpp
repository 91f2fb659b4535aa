// rescue-copy FROM TO: copies as a program does that reads by itself and writes with the C
// library's streams, unbuffered. A read that fails is tried once more.
//
// Exit status: 0; 1 a write failed, 4 without the stream knowing it; 5 a read failed twice.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace {

struct CloseStream {
    void operator()(FILE *stream) const { fclose(stream); }
};
using Stream = std::unique_ptr<FILE, CloseStream>;

ssize_t ReadTwice(int from, char *bytes, size_t count)
{
    const ssize_t got = read(from, bytes, count);
    return got < 0 ? read(from, bytes, count) : got;
}

int Copy(int from, FILE *to)
{
    setvbuf(to, nullptr, _IONBF, 0);
    char bytes[2048];
    size_t sum = 0;
    ssize_t got = 0;
    while ((got = ReadTwice(from, bytes, sizeof bytes)) > 0) {
        const auto count = static_cast<size_t>(got);
        const size_t written = fwrite(bytes, 1, count, to);
        sum += written;
        if (written < count) {
            fprintf(stderr, "%zu bytes, then: %s\n", sum, strerror(errno));
            return ferror(to) != 0 ? 1 : 4;
        }
    }
    return got < 0 ? 5 : 0;
}

}  // namespace

int main(int argc, char **argv)
{
    if (argc != 3)
        return 2;
    const int from = open(argv[1], O_RDONLY | O_CLOEXEC);
    const Stream to(fopen(argv[2], "w"));
    return from < 0 || to == nullptr ? 3 : Copy(from, to.get());
}
