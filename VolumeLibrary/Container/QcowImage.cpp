#include "QcowImage.h"

#include "FileBeside.h"
#include "FileByteSource.h"
#include "ParallelSource.h"
#include "QcowDisk.h"
#include "QcowHeader.h"
#include "QcowShortfall.h"

#include <utility>

namespace vx {
namespace {

using Source = std::shared_ptr<const ByteSource>;

std::optional<ContainerKind> KindNamed(const std::string &format)
{
    constexpr std::pair<const char *, ContainerKind> kFormats[] = {
        {"raw", ContainerKind::kRaw}, {"qcow2", ContainerKind::kQcow},
        {"vdi", ContainerKind::kVdi}, {"vmdk", ContainerKind::kVmdk},
        {"vpc", ContainerKind::kVhd}, {"vhdx", ContainerKind::kVhdx},
    };
    for (const auto &[name, kind] : kFormats) {
        if (format == name)
            return kind;
    }
    return std::nullopt;
}

std::string Description(const QcowHeader &header)
{
    std::string text = "a QCOW2 image of version " + std::to_string(header.version);
    if (!header.backingFile.empty())
        text += ", with the backing file " + ShownName(header.backingFile);
    if (header.hasDataFile)
        text += ", with the data file " + ShownName(header.dataFile);
    return text;
}

Result<Source> OpenClusters(const QcowHeader &header, const Source &file,
                            const FileOpener &openData)
{
    if (!header.hasDataFile)
        return file;
    if (header.dataFile.empty())
        return Error{Status::kUnsupportedContainer,
                     "it is a QCOW2 image whose data file is not named: convert it to a raw image "
                     "first, with qemu-img convert -O raw"};
    return openData(header.dataFile);
}

Result<Container> OpenBacking(const QcowHeader &header, const ParentOpener &parents)
{
    if (header.backingFile.empty())
        return Container{};
    ParentWanted wanted;
    wanted.child = "a QCOW2 image with a backing file";
    wanted.names = {header.backingFile};
    wanted.kind = KindNamed(header.backingFormat);
    wanted.diskBytes = header.diskBytes;
    return parents(wanted);
}

std::string ShortText(const QcowShortfall &shortfall)
{
    return std::string("the QCOW2 image ends early; ") + (shortfall.isLeast ? "at least " : "") +
           std::to_string(shortfall.missingBytes) + " bytes of the disk cannot be read";
}

}  // namespace

FileOpener DataFileBeside(const std::string &path)
{
    return [path](const std::string &name) -> Result<Source> {
        const auto place = PathBeside(path, "its data file", name);
        if (!place)
            return place.Failure();
        auto file = FileByteSource::Open(*place);
        if (file)
            return Source(std::move(*file));
        Error error = file.Failure();
        if (IsPermissionError(error))
            error.detail = "your user may not read its data file " + ShownName(name);
        return error;
    };
}

Result<Container> OpenQcow(const Source &file, const ParentOpener &parents,
                           const FileOpener &openData)
{
    const auto header = ReadQcowHeader(*file);
    if (!header)
        return header.Failure();
    const auto clusters = OpenClusters(*header, file, openData);
    if (!clusters)
        return clusters.Failure();
    auto backing = OpenBacking(*header, parents);
    if (!backing)
        return backing.Failure();
    const auto disk = std::make_shared<QcowDisk>(
        QcowDisk::Files{file, *clusters, std::move(backing->source)}, *header);
    const QcowShortfall shortfall =
        QcowShortfallSearch(*file, *header, disk->Tables(), (*clusters)->Size()).Find();
    // Compressed clusters take longer to unpack than to read.
    Container container = {
        std::make_shared<ParallelSource>(disk, ParallelSource::ReadersForUnpacking()),
        std::move(backing->notes)};
    container.files = std::move(backing->files);
    container.kind = "qcow2";
    container.description = Description(*header);
    if (shortfall.missingBytes > 0)
        container.notes.push_back(ShortText(shortfall));
    if (!disk->Tables().Contested().IsEmpty())
        container.notes.emplace_back("clusters of the QCOW2 image lie in the same place, which is "
                                     "impossible; they cannot be read");
    if (header->isMarkedCorrupt)
        container.notes.emplace_back(
            "the program that wrote the QCOW2 image has marked it as damaged");
    return container;
}

}  // namespace vx
