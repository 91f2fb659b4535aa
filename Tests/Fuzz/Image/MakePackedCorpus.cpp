// make-packed-corpus FOLDER: writes the initial inputs of the fuzz target of packed files, packed
// by libwim.
#include "WimChunks.h"

#include <fstream>
#include <string>
#include <sys/stat.h>

using namespace vx;

namespace {

std::string Contents(size_t count, unsigned kind)
{
    std::string bytes;
    for (size_t i = 0; bytes.size() < count; ++i) {
        if (kind == 0)
            bytes += "line " + std::to_string(i * i) + "\n";
        else if (kind == 1)
            bytes += std::string("\xE8") + static_cast<char>(i) + static_cast<char>(i / 3) +
                     std::string(2, '\0') + "\x55\x8B\xEC";
        else
            bytes += static_cast<char>(i % 251 * i / 7);
    }
    bytes.resize(count);
    return bytes;
}

bool Write(const std::string &path, unsigned mode, size_t size, const std::vector<uint8_t> &rest)
{
    std::ofstream file(path, std::ios::binary);
    file << static_cast<char>(mode);
    for (unsigned i = 0; i < 3; ++i)
        file << static_cast<char>(size >> 8 * i);
    file.write(reinterpret_cast<const char *>(rest.data()), static_cast<long>(rest.size()));
    return file.flush().good();
}

}  // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fputs("usage: make-packed-corpus FOLDER\n", stderr);
        return 2;
    }
    ::mkdir(argv[1], 0777);
    const std::string folder = std::string(argv[1]) + "/image-packed-fuzz";
    ::mkdir(folder.c_str(), 0777);
    bool isGood = true;
    for (const PackedForm &form : kPackedForms) {
        const WimChunks wim(form);
        const auto mode = static_cast<unsigned>(form.packing);
        for (unsigned kind = 0; kind < 3; ++kind) {
            const std::string contents = Contents(2 * form.chunkBytes + 100, kind);
            const ByteView all(reinterpret_cast<const uint8_t *>(contents.data()), contents.size());
            const std::string name = folder + "/" + std::to_string(mode) + std::to_string(kind);
            const auto chunk = wim.Pack(all.First(form.chunkBytes));
            if (chunk)
                isGood &= Write(name + "chunk", mode, form.chunkBytes, *chunk);
            isGood &= Write(name + "stream", mode + 4, all.size, wim.Stream(all));
        }
    }
    return isGood ? 0 : 1;
}
