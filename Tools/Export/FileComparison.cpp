#include "FileComparison.h"

#include "NumberText.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace vx {
namespace {

bool ReadPiece(int file, int64_t position, char *bytes, size_t count)
{
    for (size_t done = 0; done < count;) {
        const ssize_t got =
            pread(file, bytes + done, count - done, static_cast<off_t>(position + int64_t(done)));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return false;
        done += static_cast<size_t>(got);
    }
    return true;
}

}  // namespace

FileComparison::FileComparison() : _original(kPieceSize), _copy(kPieceSize) {}

std::string FileComparison::Difference(OpenVolumeFile *file, int64_t size, int copy, Unread unread,
                                       const PieceCompared &compared)
{
    if (!file->Seek(0))
        return "the volume cannot read it again";
    for (int64_t position = 0; position < size;) {
        const int64_t count = std::min(size - position, kPieceSize);
        std::string reason = DifferenceAt(file, position, static_cast<size_t>(count), copy, unread);
        if (!reason.empty())
            return reason;
        position += count;
        if (!compared(count))
            break;
    }
    return "";
}

std::string FileComparison::DifferenceAt(OpenVolumeFile *file, int64_t position, size_t count,
                                         int copy, Unread unread)
{
    std::fill(_original.begin(), _original.end(), '\0');
    if (!file->Read(_original.data(), static_cast<uint32_t>(count))) {
        if (unread == Unread::kIsFailure)
            return "the volume cannot read it again";
        file->Seek(position + int64_t(count));
    }
    if (!ReadPiece(copy, position, _copy.data(), count))
        return "the copy cannot be read again";
    if (memcmp(_original.data(), _copy.data(), count) != 0)
        return "the copy differs within 1 MiB after byte " + GroupedText(position);
    return "";
}

}  // namespace vx
