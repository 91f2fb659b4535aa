#include "CarefulSource.h"

#include <cerrno>

namespace vx {

CarefulSource::CarefulSource(std::shared_ptr<const ByteSource> source,
                             const std::vector<std::string> &files, ReadingLimits limits)
    : _below(std::move(source), files),
      _whyWithheld(limits.whyWithheld.empty() ? ReadingLimits::kMarkedByMap : limits.whyWithheld),
      _reader(_below, _below.source->Size(), std::move(limits))
{
}

Error CarefulSource::ReadAt(uint64_t offset, void *buffer, size_t count) const
{
    return ReadBySalvage(offset, buffer, count);
}

Error CarefulSource::SalvageInside(uint64_t offset, void *buffer, size_t count,
                                   ByteRanges *gaps) const
{
    const int number = _reader.Read(offset, static_cast<char *>(buffer), count, gaps);
    if (number == 0)
        return {};
    if (IsGone())
        return {Status::kSystemError, "the disk or image is gone", ENODEV};
    if (number == CarefulReader::kWithheld)
        return {Status::kSystemError, _whyWithheld, number};
    return number == ENOMEM ? SystemError(ENOMEM, "read") : _below.LastError();
}

RawReader::Outcome CarefulSource::Below::ReadOnce(uint64_t offset, char *buffer, size_t count) const
{
    const Error error = source->ReadAt(offset, buffer, count);
    if (!error)
        return {count, 0};
    const MutexLock lock(mutex);
    lastError = error;
    return {error.bytesRead, error.systemError != 0 ? error.systemError : EIO};
}

Error CarefulSource::Below::LastError() const
{
    const MutexLock lock(mutex);
    return lastError;
}

}  // namespace vx
