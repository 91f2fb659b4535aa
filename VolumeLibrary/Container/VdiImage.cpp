#include "VdiImage.h"

#include "ByteReader.h"
#include "PowerOfTwo.h"
#include "VdiDisk.h"

#include <array>
#include <utility>

namespace vx {
namespace {

using Source = std::shared_ptr<const ByteSource>;

constexpr size_t kHeadBytes = 512;
constexpr size_t kTypeAt = 0x4C;

enum class Type : uint32_t { kGrowing = 1, kFixed = 2, kUndo = 3, kDifferencing = 4 };

Error Damaged()
{
    return {Status::kDamagedContainer, "the VDI image is damaged"};
}

Error EndsEarly()
{
    return {Status::kTruncatedImage, "the VDI image ends early"};
}

Error CheckVersion(ByteView head)
{
    constexpr size_t kMajorAt = kVdiMarkAt + 6;
    if (U16At(head, kMajorAt) == 1)
        return {};
    return {Status::kUnsupportedContainer, "it is a VDI image of version " +
                                               std::to_string(U16At(head, kMajorAt)) +
                                               ": clone it first, with VBoxManage clonemedium"};
}

Error IsDifferencing(ByteView head)
{
    constexpr size_t kParentAt = 0x1A8;
    return {Status::kUnsupportedContainer,
            "it is a differencing VDI image; its parent has the identifier " +
                ByteReader(head, kParentAt).TakeGuid().Text() +
                ": clone it into an image of its own first, with VBoxManage clonemedium"};
}

VdiShape ShapeOf(ByteView head)
{
    constexpr size_t kMapAt = 0x154;
    constexpr size_t kDiskBytesAt = 0x170;
    VdiShape shape;
    shape.mapAt = U32At(head, kMapAt);
    shape.blocksAt = U32At(head, kMapAt + 4);
    ByteReader reader(head, kDiskBytesAt);
    shape.diskBytes = reader.U64();
    shape.blockBytes = reader.U32();
    shape.extraBytes = reader.U32();
    shape.blocks = reader.U32();
    shape.usedBlocks = reader.U32();
    return shape;
}

bool MakesSense(const VdiShape &shape)
{
    return IsPowerOfTwo(shape.blockBytes) && shape.blockBytes >= VdiShape::kSmallestBlock &&
           shape.blockBytes <= VdiShape::kLargestBlock && shape.extraBytes <= shape.blockBytes &&
           shape.blocks <= VdiShape::kMostBlocks && shape.diskBytes <= uint64_t{INT64_MAX} &&
           shape.mapAt >= kHeadBytes && shape.blocksAt >= shape.mapAt + shape.blocks * uint64_t{4};
}

const char *Description(Type type)
{
    return type == Type::kFixed ? "a fixed VDI image" : "a dynamic VDI image";
}

Result<Container> OpenMap(const Source &file, const VdiShape &shape, Type type)
{
    auto map = VdiMap::Open(file, shape);
    if (!map)
        return map.Failure();
    Container container;
    container.kind = "vdi";
    container.description = Description(type);
    container.sectorBytes = 512;
    if ((*map)->MissingBytes() > 0)
        container.notes.push_back("the VDI image ends early; " +
                                  std::to_string((*map)->MissingBytes()) +
                                  " bytes of the disk cannot be read");
    if ((*map)->LackingBlocks() > 0)
        container.notes.push_back("the VDI image counts more blocks in use than its map has, by " +
                                  std::to_string((*map)->LackingBlocks()) +
                                  "; what the map says was never written cannot be read, since "
                                  "they may belong there");
    container.inDoubt = (*map)->InDoubt();
    container.doubt = VdiMap::kInDoubt;
    container.source = std::make_shared<VdiDisk>(file, std::move(*map), shape);
    return container;
}

}  // namespace

bool IsVdiImage(ByteView head)
{
    return ByteReader(head, kVdiMarkAt).TakeMark(kVdiMark);
}

bool IsVdiBesideItsMark(ByteView head)
{
    const Type type{U32At(head, kTypeAt)};
    const bool isKnown = type >= Type::kGrowing && type <= Type::kDifferencing;
    return head.size >= kHeadBytes && !CheckVersion(head) && isKnown && MakesSense(ShapeOf(head));
}

Result<Container> OpenVdi(const Source &file)
{
    std::array<uint8_t, kHeadBytes> head;
    if (file->Size() < kHeadBytes)
        return EndsEarly();
    if (Error error = file->ReadAt(0, head.data(), head.size()))
        return error;
    if (Error error = CheckVersion(head))
        return error;
    const Type type{U32At(head, kTypeAt)};
    if (type == Type::kUndo || type == Type::kDifferencing)
        return IsDifferencing(head);
    const VdiShape shape = ShapeOf(head);
    if ((type != Type::kGrowing && type != Type::kFixed) || !MakesSense(shape))
        return Damaged();
    if (file->Size() < shape.mapAt + shape.blocks * uint64_t{4})
        return EndsEarly();
    return OpenMap(file, shape, type);
}

}  // namespace vx
