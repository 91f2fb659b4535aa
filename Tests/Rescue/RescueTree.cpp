#include "RescueTree.h"

#include "MarkedBytes.h"

#include <algorithm>
#include <cstdio>

namespace vx {
namespace {

constexpr uint64_t kKibibyte = 1024;
constexpr uint64_t kMebibyte = 1024 * kKibibyte;
constexpr uint64_t kIsland = 512 * kKibibyte;  // where the data of a sparse file begins
constexpr uint64_t kIslandBytes = 64 * kKibibyte;

class TreeBuilder {
public:
    void Add(const std::string &path, uint64_t size,
             RescueFile::Kind kind = RescueFile::Kind::kOrdinary)
    {
        tree.push_back({static_cast<unsigned>(tree.size() + 1), path, size, kind});
    }

    RescueTree tree;
};

void AddFolderOfMany(TreeBuilder *builder)
{
    char path[32];
    for (int i = 0; i < 60; ++i) {
        std::snprintf(path, sizeof path, "/Many/FILE%03d.BIN", i);
        builder->Add(path, i % 2 == 0 ? 1100 : 100);
    }
    builder->Add(kVictim, 2500);
}

}  // namespace

std::string RescueFile::Contents() const
{
    std::string bytes = MarkedBytes(number, size);
    if (kind == Kind::kSparse) {
        std::fill(bytes.begin(), bytes.begin() + kIsland, '\0');
        std::fill(bytes.begin() + kIsland + kIslandBytes, bytes.end(), '\0');
    }
    return bytes;
}

std::string RescueFile::LocalPath() const
{
    std::string local = path;
    std::replace(local.begin(), local.end(), '\\', '/');
    return local;
}

RescueTree MakeRescueTree(bool withNtfsKinds)
{
    TreeBuilder builder;
    builder.Add("/empty.bin", 0);
    builder.Add("/one.bin", 1);
    builder.Add("/under.bin", 511);
    builder.Add("/sector.bin", 512);
    builder.Add("/cluster.bin", 4 * kKibibyte);
    builder.Add(kMiddling, 200 * kKibibyte + 17);
    builder.Add(kChunk, 4 * kMebibyte);
    builder.Add("/Deep/er/more.bin", 4 * kMebibyte + 1);
    builder.Add(kLarge, 9 * kMebibyte);
    AddFolderOfMany(&builder);
    if (withNtfsKinds) {
        builder.Add(kPacked, 300 * kKibibyte + 5, RescueFile::Kind::kCompressed);
        builder.Add(kSparse, 2 * kMebibyte, RescueFile::Kind::kSparse);
    }
    return builder.tree;
}

RescueTree MakeTreeOfNames(bool withCases)
{
    TreeBuilder builder;
    std::string longName;
    for (int i = 0; i < 200; ++i)
        longName += "é";
    builder.Add("/plain.bin", 5000);
    builder.Add("/Names/" + longName + ".txt", 600);
    builder.Add("/Names/" + longName + "s.txt", 650);
    builder.Add("/Names/back\\slash.bin", 800);
    builder.Add("/Names/back/slash.bin", 1000);
    builder.Add("/Names/last.bin", 3000);
    if (withCases) {
        builder.Add("/Names/Case.bin", 700);
        builder.Add("/Names/CASE.bin", 900);
    }
    return builder.tree;
}

const RescueFile *FileAt(const RescueTree &tree, const std::string &path)
{
    const auto found = std::find_if(tree.begin(), tree.end(),
                                    [&](const RescueFile &file) { return file.path == path; });
    return found == tree.end() ? nullptr : &*found;
}

}  // namespace vx
