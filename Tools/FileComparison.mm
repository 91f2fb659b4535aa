#import "FileComparison.h"

#include "NumberText.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace vx {
namespace {

struct CloseFile {
    void operator()(FILE *file) const { fclose(file); }
};

}  // namespace

FileComparison::FileComparison() : _original(kPieceSize), _copy(kPieceSize) {}

std::string FileComparison::Difference(Z5BitLockerFile *file, int64_t size, const std::string &copy,
                                       const PieceCompared &compared)
{
    const std::unique_ptr<FILE, CloseFile> local(fopen(copy.c_str(), "r"));
    if (local == nullptr)
        return std::string("the copy cannot be read again: ") + strerror(errno);
    if (![file seekFile:0])
        return "the volume cannot read it again";
    for (int64_t position = 0; position < size;) {
        const int64_t count = std::min(size - position, kPieceSize);
        const auto bytes = static_cast<size_t>(count);
        if (![file readFile:_original.data() ofsize:count])
            return "the volume cannot read it again";
        if (fread(_copy.data(), 1, bytes, local.get()) != bytes)
            return "the copy cannot be read again";
        if (memcmp(_original.data(), _copy.data(), bytes) != 0)
            return "the copy differs within 1 MiB after byte " + GroupedText(position);
        position += count;
        if (!compared(count))
            break;
    }
    return "";
}

}  // namespace vx
