#include "EwfSegments.h"

#include "FilePool.h"
#include "PartNames.h"

#include <utility>

namespace vx {
namespace {

Error MissingFile(const std::string &name)
{
    return {Status::kTruncatedImage, "its part " + name + " is missing"};
}

Error OpenFile(FilePool &pool, const std::string &path, EwfFile *file)
{
    auto opened = pool.Open(path);
    if (opened) {
        file->source = std::move(*opened);
        return {};
    }
    Error error = opened.Failure();
    if (IsPermissionError(error))
        error.detail = "your user may not read its part " + file->name;
    return error;
}

// A later file tells its number, and so does its name.
Error CheckIsFirst(const PartNames &names)
{
    if (names.Given() == 1)
        return {};
    return {Status::kUnsupportedContainer, "it is part " + std::to_string(names.Given()) +
                                               " of an image; give the first one, " +
                                               names.Name(1)};
}

}  // namespace

Error OpenEwfFiles(const std::string &path, std::vector<EwfFile> *files, EwfLayout *layout)
{
    const auto names = PartNames::OfEwf(path);
    if (names) {
        if (Error error = CheckIsFirst(*names))
            return error;
    }
    const auto pool = FilePool::Make();
    EwfLayoutReader reader;
    EwfFile file = {path.substr(path.rfind('/') + 1), nullptr};
    std::string place = path;
    for (size_t number = 1;; ++number) {
        EwfEnding ending = EwfEnding::kIsLast;
        if (Error error = OpenFile(*pool, place, &file))
            return error;
        if (Error error = reader.Add(*file.source, file.name, &ending))
            return error;
        file.path = place;
        files->push_back(file);
        if (ending == EwfEnding::kIsLast)
            return reader.Finish(layout);
        if (!names)
            return {Status::kTruncatedImage,
                    "its second part is missing; the name of the first one must end in .E01"};
        if (!names->Exists(number + 1))
            return MissingFile(names->Name(number + 1));
        place = names->Path(number + 1);
        file.name = names->Name(number + 1);
    }
}

}  // namespace vx
