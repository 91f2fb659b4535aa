#include "QcowDisk.h"

#include "ZlibStream.h"
#include "ZstdFrame.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace vx {
namespace {

Error AtPlace(Error error, uint64_t offset)
{
    if (error.status == Status::kTruncatedImage)
        error = {Status::kSystemError, "the QCOW2 image ends before this place", EIO};
    error.detail = "read at " + std::to_string(offset) + ": " + error.detail;
    return error;
}

}  // namespace

QcowDisk::QcowDisk(Files files, const QcowHeader &header)
    : _files(std::move(files)),
      _header(header),
      _tables(_files.image, header, _files.clusters->Size())
{
}

Error QcowDisk::ReadAt(uint64_t offset, void *buffer, size_t count) const
{
    if (Error error = CheckRange(Size(), offset, count))
        return error;
    auto *place = static_cast<uint8_t *>(buffer);
    for (size_t done = 0; done < count;) {
        const auto extent = _tables.Find(offset + done, count - done);
        Error error = extent ? ReadExtent(*extent, offset + done, place + done) : extent.Failure();
        if (error) {
            error.bytesRead += done;
            return AtPlace(std::move(error), offset + done);
        }
        done += static_cast<size_t>(extent->length);
    }
    return {};
}

Error QcowDisk::ReadExtent(const QcowExtent &extent, uint64_t offset, uint8_t *place) const
{
    const auto count = static_cast<size_t>(extent.length);
    switch (extent.kind) {
    case QcowExtent::Kind::kStored:
        return _files.clusters->ReadAt(extent.place, place, count);
    case QcowExtent::Kind::kPacked:
        return ReadPacked(extent, offset, place);
    case QcowExtent::Kind::kBelow:
        return ReadBelow(offset, place, count);
    case QcowExtent::Kind::kZeros:
        break;
    }
    std::memset(place, 0, count);
    return {};
}

Error QcowDisk::ReadBelow(uint64_t offset, uint8_t *place, size_t count) const
{
    const uint64_t size = _files.backing != nullptr ? _files.backing->Size() : 0;
    const auto stored =
        static_cast<size_t>(std::min<uint64_t>(count, size - std::min(size, offset)));
    std::memset(place + stored, 0, count - stored);
    if (stored == 0)
        return {};
    Error error = _files.backing->ReadAt(offset, place, stored);
    if (error)
        error.detail = "in the backing file, " + error.detail;
    return error;
}

Error QcowDisk::ReadPacked(const QcowExtent &extent, uint64_t offset, uint8_t *place) const
{
    const uint64_t clusterBytes = _header.ClusterBytes();
    if (extent.length == clusterBytes)
        return Unpack(extent, place);
    const uint64_t number = offset / clusterBytes;
    UnpackedPieces::Piece piece = _pieces.Find(number);
    if (piece == nullptr) {
        const auto fresh =
            std::make_shared<std::vector<uint8_t>>(static_cast<size_t>(clusterBytes));
        if (Error error = Unpack(extent, fresh->data()))
            return error;
        _pieces.Keep(number, fresh);
        piece = fresh;
    }
    std::memcpy(place, piece->data() + offset % clusterBytes, static_cast<size_t>(extent.length));
    return {};
}

Error QcowDisk::Unpack(const QcowExtent &extent, uint8_t *place) const
{
    const auto room = static_cast<size_t>(_header.ClusterBytes());
    const PackedRange range = {extent.place, extent.packedEnd};
    if (_header.isZstd)
        return UnpackZstd(*_files.clusters, range, place, room);
    const auto unpacked = UnpackDeflate(*_files.clusters, range, place, room);
    if (!unpacked)
        return unpacked.Failure();
    const bool isWhole = *unpacked == room;
    return isWhole ? Error()
                   : Error{Status::kSystemError, "a compressed cluster is too short", EIO};
}

}  // namespace vx
