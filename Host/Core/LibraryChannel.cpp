#include "LibraryChannel.h"

#include "UniqueFd.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace vx {
namespace {

// Exported since there is a channel.
constexpr std::string_view kMark = "volume_library_visit_master_key";

ssize_t ReadSome(int descriptor, char *place, size_t size)
{
    ssize_t got = -1;
    do {
        got = read(descriptor, place, size);
    } while (got < 0 && errno == EINTR);
    return got;
}

}  // namespace

bool KnowsChannel(const std::string &library)
{
    constexpr size_t kPiece = size_t{64} << 10;
    const UniqueFd file(open(library.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    std::vector<char> bytes(kMark.size() + kPiece);
    size_t kept = 0;  // the end of the piece before, which may hold a part of the name
    ssize_t got = -1;
    while ((got = ReadSome(file.Get(), bytes.data() + kept, kPiece)) > 0) {
        const std::string_view piece(bytes.data(), kept + static_cast<size_t>(got));
        if (piece.find(kMark) != piece.npos)
            return true;
        kept = std::min(piece.size(), kMark.size() - 1);
        std::copy(piece.end() - kept, piece.end(), bytes.begin());
    }
    return got < 0;
}

}  // namespace vx
