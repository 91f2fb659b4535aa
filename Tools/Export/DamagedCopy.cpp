#include "DamagedCopy.h"

#include "DamageMark.h"
#include "KeptAccessTime.h"
#include "LocalFile.h"

#include <cerrno>
#include <unistd.h>
#include <vector>

namespace vx {
namespace {

constexpr size_t kPiece = size_t{256} << 10;

using Piece = std::vector<unsigned char>;

// Fills the piece, up to the end of the file; false: errno.
bool ReadPiece(int file, off_t position, Piece *piece)
{
    piece->resize(kPiece);
    size_t done = 0;
    while (done < kPiece) {
        const off_t at = position + static_cast<off_t>(done);
        const ssize_t got = pread(file, piece->data() + done, kPiece - done, at);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return false;
        if (got == 0)
            break;
        done += static_cast<size_t>(got);
    }
    piece->resize(done);
    return true;
}

bool HoldsAllOf(const Piece &copy, const Piece &other, bool isDamaged)
{
    if (copy == other)
        return true;
    if (!isDamaged || copy.size() != other.size())
        return false;
    for (size_t i = 0; i < copy.size(); ++i) {
        if (other[i] != 0 && other[i] != copy[i])
            return false;
    }
    return true;
}

}  // namespace

bool HoldsAllOf(int folder, const std::string &copy, const std::string &other)
{
    const UniqueFd own = OpenArrived(folder, copy);
    const UniqueFd old = OpenArrived(folder, other);
    struct stat ownFound;
    struct stat oldFound;
    if (!own || !old || fstat(own.Get(), &ownFound) != 0 || fstat(old.Get(), &oldFound) != 0 ||
        ownFound.st_size != oldFound.st_size)
        return false;
    const KeptAccessTime ownTime(own.Get());
    const KeptAccessTime oldTime(old.Get());
    const bool isDamaged = IsMarkedDamaged(old.Get());
    Piece ownPiece;
    Piece oldPiece;
    for (off_t at = 0; at < ownFound.st_size; at += static_cast<off_t>(kPiece)) {
        if (!ReadPiece(own.Get(), at, &ownPiece) || !ReadPiece(old.Get(), at, &oldPiece) ||
            !HoldsAllOf(ownPiece, oldPiece, isDamaged))
            return false;
    }
    return true;
}

}  // namespace vx
