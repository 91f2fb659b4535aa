#include "EwfImage.h"

#include "ByteReader.h"
#include "EwfLayout.h"
#include "EwfSource.h"
#include "FilePool.h"
#include "PartNames.h"
#include "RememberingSource.h"

#include <utility>

namespace vx {
namespace {

Error MissingFile(const std::string &name)
{
    return {Status::kTruncatedImage, "its part " + name + " is missing"};
}

Result<EwfFile> OpenFile(FilePool &pool, const std::string &path, const std::string &name,
                         uint32_t retries)
{
    auto opened = pool.Open(path);
    if (opened)
        return EwfFile{name, std::make_shared<RememberingSource>(std::move(*opened), retries),
                       path};
    Error error = opened.Failure();
    if (IsPermissionError(error))
        error.detail = "your user may not read its part " + name;
    return error;
}

Error CheckIsFirst(const PartNames &names)
{
    if (names.Given() == 1)
        return {};
    return {Status::kUnsupportedContainer, "it is part " + std::to_string(names.Given()) +
                                               " of an image; give the first one, " +
                                               names.Name(1)};
}

// Adds each file to the reader until one says that it is the last.
Result<std::vector<EwfFile>> OpenFiles(const std::string &path, uint32_t retries,
                                       EwfLayoutReader &reader)
{
    const auto names = PartNames::OfEwf(path);
    if (names) {
        if (Error error = CheckIsFirst(*names))
            return error;
    }
    const auto pool = FilePool::Make();
    std::vector<EwfFile> files;
    std::string place = path;
    std::string name = path.substr(path.rfind('/') + 1);
    for (size_t number = 1;; ++number) {
        auto file = OpenFile(*pool, place, name, retries);
        if (!file)
            return file.Failure();
        const auto ending = reader.Add(*file->source, name);
        if (!ending)
            return ending.Failure();
        files.push_back(std::move(*file));
        if (*ending == EwfEnding::kIsLast)
            return files;
        if (!names)
            return Error{Status::kTruncatedImage,
                         "its second part is missing; the name of the first one must end in .E01"};
        name = names->Name(number + 1);
        if (!names->Exists(number + 1))
            return MissingFile(name);
        place = names->Path(number + 1);
    }
}

std::vector<std::string> NotesOf(const EwfLayout &layout)
{
    std::vector<std::string> notes;
    const uint64_t held = layout.chunks * layout.chunkBytes;
    if (held < layout.diskBytes)
        notes.push_back(std::to_string(layout.diskBytes - held) +
                        " bytes of the disk are in no part of the E01 image and cannot be read");
    if (layout.lostSectors > 0)
        notes.push_back(std::to_string(layout.lostSectors) +
                        " sectors could not be read when the E01 image was made; they are zeros "
                        "in it");
    return notes;
}

}  // namespace

bool IsEwfImage(ByteView head)
{
    return ByteReader(head).TakeMark(kEwfMark);
}

bool IsEwfBesideItsMark(ByteView head)
{
    // The number of the part, and the name of its first section.
    constexpr std::string_view kFirstPart("\x01\x01\x00\x00\x00header", 11);
    return ByteReader(head, kEwfMark.size()).TakeMark(kFirstPart);
}

Result<Container> OpenEwf(const std::string &path, uint32_t retries)
{
    EwfLayoutReader reader;
    auto files = OpenFiles(path, retries, reader);
    if (!files)
        return files.Failure();
    auto layout = reader.Finish();
    if (!layout)
        return layout.Failure();
    Container container;
    container.notes = NotesOf(*layout);
    container.kind = layout->isOfOlderKind ? "s01" : "e01";
    container.description = layout->isOfOlderKind ? "an S01 image" : "an E01 image";
    container.sectorBytes = layout->sectorBytes;
    for (const EwfFile &file : *files)
        container.files.push_back(file.path);
    container.source = std::make_shared<EwfSource>(std::move(*files), std::move(*layout));
    return container;
}

}  // namespace vx
