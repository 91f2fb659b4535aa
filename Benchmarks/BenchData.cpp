#include "BenchData.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <vector>

#include "ChildProcess.h"
#include "FreeMemory.h"

namespace {

struct CloseFile {
    void operator()(FILE *file) const { fclose(file); }
};

constexpr size_t kMebibyte = size_t{1} << 20;

constexpr unsigned kSeed = 20240229;  // any; the same data in every run

std::vector<char> Noise(size_t size)
{
    std::mt19937 generator(kSeed);
    std::vector<char> bytes(size);
    for (char &byte : bytes)
        byte = static_cast<char>(generator());
    return bytes;
}

// Words of a small vocabulary, in any order: packed it takes about a third.
std::vector<char> Text(size_t size)
{
    const std::vector<char> letters = Noise(4096);
    std::mt19937 generator(kSeed);
    std::vector<char> text;
    while (text.size() < size) {
        const unsigned word = generator() % 1024;
        for (unsigned i = 0; i < 3 + word % 7; ++i)
            text.push_back(static_cast<char>('a' + (letters[word * 3 + i] & 0xf)));
        text.push_back(' ');
    }
    text.resize(size);
    return text;
}

bool WriteFile(const std::string &path, const std::vector<char> &block, long long blocks)
{
    const std::unique_ptr<FILE, CloseFile> file(fopen(path.c_str(), "w"));
    if (file == nullptr)
        return false;
    for (long long i = 0; i < blocks; ++i) {
        if (fwrite(block.data(), 1, block.size(), file.get()) != block.size())
            return false;
    }
    return fflush(file.get()) == 0;
}

bool SetModified(const std::string &path, time_t seconds)
{
    const timespec times[2] = {{seconds, 0}, {seconds, 0}};
    return utimensat(AT_FDCWD, path.c_str(), times, 0) == 0;
}

std::string Numbered(const char *format, unsigned number)
{
    char text[64];
    snprintf(text, sizeof(text), format, number);
    return text;
}

}  // namespace

BenchData::BenchData(const std::string &parent)
{
    std::string pattern = parent + "/volume-bench.XXXXXX";
    if (mkdtemp(&pattern[0]) != nullptr)
        _folder = pattern;
}

BenchData::~BenchData()
{
    if (Made())
        RunChild({"rm", "-rf", _folder});
}

bool BenchData::MakeFolder(const std::string &folder) const
{
    return Made() && mkdir(folder.c_str(), 0777) == 0;
}

std::string BenchData::OneFile(const std::string &name, const std::vector<char> &block,
                               long long bytes)
{
    std::string folder = _folder + name;
    if (!MakeFolder(folder))
        return errno == EEXIST ? folder : "";
    const long long blocks = bytes / static_cast<long long>(block.size());
    return WriteFile(folder + "/file.bin", block, blocks) ? folder : "";
}

std::string BenchData::OneLargeFile()
{
    return OneFile("/large", Noise(kMebibyte), kLargeFileBytes);
}

std::string BenchData::OneGibibyte()
{
    return OneFile("/gibibyte", Noise(kMebibyte), 1LL << 30);
}

std::string BenchData::OneGibibyteOfText()
{
    return OneFile("/text", Text(kMebibyte), 1LL << 30);
}

std::string BenchData::ManySmallFiles()
{
    std::string folder = _folder + "/small";
    if (!MakeFolder(folder))
        return errno == EEXIST ? folder : "";
    const std::vector<char> block = Noise(4096);
    for (unsigned i = 0; i < 200; ++i) {
        const std::string inner = folder + Numbered("/folder %03u", i);
        if (!MakeFolder(inner))
            return "";
        for (unsigned j = 0; j < 100; ++j) {
            if (!WriteFile(inner + Numbered("/file %03u.bin", j), block, 1))
                return "";
        }
    }
    return folder;
}

std::string BenchData::ManyEntries()
{
    std::string folder = _folder + "/entries";
    if (!MakeFolder(folder))
        return errno == EEXIST ? folder : "";
    std::mt19937 generator(kSeed);
    std::uniform_int_distribution<time_t> times(1500000000, 1700000000);
    std::uniform_int_distribution<off_t> sizes(0, 50000000);
    for (unsigned i = 0; i < 100000; ++i) {
        const std::string path = folder + Numbered("/document %06u.txt", i);
        if (!WriteFile(path, {}, 0) || truncate(path.c_str(), sizes(generator)) != 0 ||
            !SetModified(path, times(generator)))
            return "";
    }
    return folder;
}

std::string BenchData::EmptyFiles(unsigned thousands)
{
    std::string folder = _folder + "/empty files " + std::to_string(thousands);
    if (!MakeFolder(folder))
        return errno == EEXIST ? folder : "";
    for (unsigned i = 0; i < thousands; ++i) {
        const std::string inner = folder + Numbered("/folder %04u", i);
        if (!MakeFolder(inner))
            return "";
        for (unsigned j = 0; j < 1000; ++j) {
            if (!WriteFile(inner + Numbered("/document %04u.txt", j), {}, 0))
                return "";
        }
    }
    return folder;
}

std::string BenchData::LikeADisk()
{
    constexpr const char *kNames[] = {
        "/folder %03u",     "/letter %03u.docx", "/note %03u.txt",   "/photo %03u.jpg",
        "/song %03u.mp3",   "/film %03u.mp4",    "/backup %03u.zip", "/paper %03u.pdf",
        "/table %03u.xlsx", "/unknown %03u",
    };
    std::string folder = _folder + "/disk";
    if (!MakeFolder(folder))
        return errno == EEXIST ? folder : "";
    for (unsigned i = 0; i < 10; ++i) {
        for (const char *name : kNames) {
            const std::string path = folder + Numbered(name, i);
            if (name == kNames[0] ? !MakeFolder(path) : !WriteFile(path, {}, 0))
                return "";
        }
    }
    return folder;
}

std::string BenchData::Empty()
{
    std::string folder = _folder + "/empty";
    return MakeFolder(folder) || errno == EEXIST ? folder : "";
}

// ext4 without a journal does not use the inode of a removed file again for some minutes, and a
// program that makes files searches past all such inodes: the next copy would pay for the last one.
void BenchData::ClearAway(const std::string &copy)
{
    constexpr char kMoveManyRemoveFew[] = R"sh(
if [ "$(find "$1" 2>/dev/null | head -n 1000 | wc -l)" -eq 1000 ]; then
    mv "$1" "$2"
else
    rm -rf "$1"
fi)sh";
    RunChild({"sh", "-c", kMoveManyRemoveFew, "sh", copy,
              _folder + "/former " + std::to_string(++_cleared)});
}

std::string BenchData::FreshDestination()
{
    std::string folder = _folder + "/copy";
    ClearAway(folder);
    sync();
    FillFreeMemory(_folder);
    return folder;
}
