#include "RawImage.h"

#include "FileByteSource.h"
#include "JoinedSource.h"

#include <utility>

namespace vx {
namespace {

using Source = std::shared_ptr<const ByteSource>;

}  // namespace

Result<Source> OpenRaw(const std::string &path, const std::string &adviceForPermission)
{
    auto file = FileByteSource::Open(path);
    if (file)
        return Source(std::move(*file));
    Error error = file.Failure();
    if (IsPermissionError(error))
        error.detail = adviceForPermission;
    return error;
}

Result<Container> OpenSplit(const PartNames &names)
{
    Container container;
    const size_t count = names.CountWithoutGap();
    container.kind = "split";
    container.description = "a raw image in " + std::to_string(count) + " parts";
    std::vector<Source> parts;
    for (size_t number = 1; number <= count; ++number) {
        auto part =
            OpenRaw(names.Path(number), "your user may not read its part " + names.Name(number));
        if (!part)
            return part.Failure();
        const bool isInside = number > 1 && number < count;
        if (isInside && (*part)->Size() < parts.front()->Size())
            return Error{Status::kTruncatedImage, "its part " + names.Name(number) + " ends early"};
        parts.push_back(std::move(*part));
        container.files.push_back(names.Path(number));
    }
    if (names.ExistsBeyond(count))
        container.notes.push_back("its part " + names.Name(count + 1) +
                                  " is missing; what follows it is not read");
    container.source = std::make_shared<JoinedSource>(std::move(parts));
    return container;
}

}  // namespace vx
