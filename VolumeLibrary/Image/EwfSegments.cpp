#include "EwfSegments.h"

#include "FilePool.h"
#include "PartNames.h"
#include "StatusFromDecryptor.h"

#include <utility>

namespace vx {
namespace {

OpenError MissingFile(const std::string &name)
{
    return {VolumeLibraryStatus::kImageTruncated, "its part " + name + " is missing"};
}

OpenError OpenFile(FilePool &pool, const std::string &path, EwfFile *file)
{
    auto opened = pool.Open(path);
    if (opened) {
        file->source = std::move(*opened);
        return {};
    }
    OpenError error = FromDecryptor(opened.error());
    if (error.status == VolumeLibraryStatus::kPermissionDenied)
        error.detail = "your user may not read its part " + file->name;
    return error;
}

// A later file tells its number, and so does its name.
OpenError CheckIsFirst(const PartNames &names)
{
    if (names.Given() == 1)
        return {};
    return {VolumeLibraryStatus::kContainerNotSupported,
            "it is part " + std::to_string(names.Given()) + " of an image; give the first one, " +
                names.Name(1)};
}

}  // namespace

OpenError OpenEwfFiles(const std::string &path, std::vector<EwfFile> *files, EwfLayout *layout)
{
    const auto names = PartNames::OfEwf(path);
    if (names) {
        if (OpenError error = CheckIsFirst(*names))
            return error;
    }
    const auto pool = FilePool::Make();
    EwfLayoutReader reader;
    EwfFile file = {path.substr(path.rfind('/') + 1), nullptr};
    std::string place = path;
    for (size_t number = 1;; ++number) {
        EwfEnding ending = EwfEnding::kIsLast;
        if (OpenError error = OpenFile(*pool, place, &file))
            return error;
        if (OpenError error = reader.Add(*file.source, file.name, &ending))
            return error;
        file.path = place;
        files->push_back(file);
        if (ending == EwfEnding::kIsLast)
            return reader.Finish(layout);
        if (!names)
            return {VolumeLibraryStatus::kImageTruncated,
                    "its second part is missing; the name of the first one must end in .E01"};
        if (!names->Exists(number + 1))
            return MissingFile(names->Name(number + 1));
        place = names->Path(number + 1);
        file.name = names->Name(number + 1);
    }
}

}  // namespace vx
