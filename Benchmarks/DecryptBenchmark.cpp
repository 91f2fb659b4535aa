// decrypt-benchmark [MIB]: how fast encrypted volumes are read, as ratios to libcrypto itself.
//
// Prints rows of a Markdown table. Every measurement is taken five times, each time right next
// to what it is compared with, and the median ratio counts. MIB is the size of the test file
// (1024), which is made in the temporary folder and lies in the page cache while it is read.
#include "Bitlocker/DecryptedVolume.h"
#include "Bitlocker/FileByteSource.h"
#include "Bitlocker/KeyStretcher.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <openssl/evp.h>
#include <stdexcept>
#include <thread>
#include <unistd.h>

using namespace vx::bitlocker;

namespace {

constexpr size_t kMebi = 1024 * 1024;
constexpr size_t kRead = 4 * kMebi;
constexpr size_t kBlock = 512;
constexpr uint32_t kSectorSize = 512;
constexpr int kRepeats = 5;

double secondsOf(const std::function<void()> &work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// Two speeds that were measured side by side, and their ratio.
struct Comparison {
    double ours = 0;
    double theirs = 0;
    double ratio = 0;
};

Comparison compare(const std::function<double()> &ours, const std::function<double()> &theirs)
{
    std::vector<double> all[3];
    for (int repeat = 0; repeat < kRepeats; ++repeat) {
        const double a = ours();
        const double b = theirs();
        all[0].push_back(a);
        all[1].push_back(b);
        all[2].push_back(a / b);
    }
    return {median(all[0]), median(all[1]), median(all[2])};
}

// A file of noise that is gone when the benchmark is.
class NoiseFile {
public:
    explicit NoiseFile(size_t mebibytes) : _size(mebibytes * kMebi)
    {
        const char *parent = std::getenv("TMPDIR");
        _path = std::string(parent != nullptr ? parent : "/tmp") + "/decrypt-benchmark-XXXXXX";
        const int descriptor = ::mkstemp(_path.data());
        if (descriptor < 0)
            throw std::runtime_error("no temporary file: " + _path);
        std::vector<uint8_t> noise(kMebi);
        uint32_t state = 1;
        for (uint8_t &byte : noise)
            byte = static_cast<uint8_t>((state = state * 1664525 + 1013904223) >> 24);
        bool written = true;
        for (size_t done = 0; done < mebibytes && written; ++done)
            written = ::write(descriptor, noise.data(), kMebi) == static_cast<ssize_t>(kMebi);
        ::close(descriptor);
        if (!written)
            throw std::runtime_error("no space for " + _path);
    }
    ~NoiseFile() { ::unlink(_path.c_str()); }
    NoiseFile(const NoiseFile &) = delete;
    NoiseFile &operator=(const NoiseFile &) = delete;

    std::shared_ptr<const ByteSource> open() const
    {
        Result<std::unique_ptr<FileByteSource>> file = FileByteSource::open(_path);
        if (!file)
            throw std::runtime_error(describe(file.error()));
        return std::move(*file);
    }
    uint64_t size() const { return _size; }

private:
    std::string _path;
    uint64_t _size;
};

// A source of the same size that has its bytes at hand: what is left is the decryption.
class ReadySource : public ByteSource {
public:
    explicit ReadySource(uint64_t size) : _size(size) {}
    uint64_t size() const override { return _size; }
    Error readAt(uint64_t, void *, size_t) const override { return {}; }

private:
    const uint64_t _size;
};

std::vector<uint8_t> someKey(size_t size)
{
    std::vector<uint8_t> key(size);
    for (size_t i = 0; i < size; ++i)
        key[i] = static_cast<uint8_t>(i * 7 + 1);
    return key;
}

// A volume that is encrypted from its first byte to its last.
std::unique_ptr<DecryptedVolume> makeVolume(const std::shared_ptr<const ByteSource> &source,
                                            Method method)
{
    MetadataBlock block;
    block.version = 2;
    block.encryptedSize = source->size();
    block.copies.fill(UINT64_MAX);
    VolumeLayout layout(block, kSectorSize, source->size(), std::nullopt);
    return std::make_unique<DecryptedVolume>(
        source, std::move(layout),
        makeSectorCipher(method, someKey(sectorKeySize(method)), kSectorSize),
        std::vector<DecryptedVolume::Patch>());
}

void readAll(const DecryptedVolume &volume, uint64_t begin, uint64_t end)
{
    std::vector<uint8_t> buffer(kRead);
    for (uint64_t offset = begin; offset < end; offset += kRead)
        if (volume.readAt(offset, buffer.data(), std::min<uint64_t>(kRead, end - offset)))
            throw std::runtime_error("a read failed");
}

// Bytes per second.
double readSpeed(const DecryptedVolume &volume)
{
    return static_cast<double>(volume.size()) /
           secondsOf([&] { readAll(volume, 0, volume.size()); });
}

double readSpeedOfTwo(const DecryptedVolume &volume)
{
    const uint64_t middle = volume.size() / 2;
    return static_cast<double>(volume.size()) / secondsOf([&] {
               std::thread other([&] { readAll(volume, 0, middle); });
               readAll(volume, middle, volume.size());
               other.join();
           });
}

// libcrypto as `openssl speed -evp NAME -bytes 512 -decrypt` drives it: one context, set up
// once, and one call for each block.
double plainCipherSpeed(const EVP_CIPHER *cipher)
{
    constexpr size_t kBlocks = 512 * 1024;
    std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(EVP_CIPHER_CTX_new(),
                                                                            EVP_CIPHER_CTX_free);
    const std::vector<uint8_t> key = someKey(static_cast<size_t>(EVP_CIPHER_key_length(cipher)));
    uint8_t vector[16] = {1};
    std::vector<uint8_t> block(2 * kBlock);
    int done = 0;
    if (EVP_DecryptInit_ex(context.get(), cipher, nullptr, key.data(), vector) != 1 ||
        EVP_CIPHER_CTX_set_padding(context.get(), 0) != 1)
        throw std::runtime_error("libcrypto refused");
    return kBlocks * kBlock / secondsOf([&] {
               for (size_t i = 0; i < kBlocks; ++i)
                   EVP_DecryptUpdate(context.get(), block.data(), &done, block.data(), kBlock);
           });
}

double stretchSpeed()
{
    const std::vector<uint8_t> hash = someKey(32);
    return 1 / secondsOf([&] {
               if (!KeyStretcher().stretch(hash, Salt{}, nullptr))
                   throw std::runtime_error("stretching failed");
           });
}

// As many hashes of as many bytes, each of which contains the one before.
double plainHashSpeed()
{
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(),
                                                                    EVP_MD_CTX_free);
    uint8_t message[88] = {};
    return 1 / secondsOf([&] {
               for (uint64_t round = 0; round < KeyStretcher::kRounds; ++round) {
                   EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr);
                   EVP_DigestUpdate(context.get(), message, sizeof message);
                   EVP_DigestFinal_ex(context.get(), message, nullptr);
               }
           });
}

void printSpeeds(const char *what, const Comparison &result, const char *target)
{
    std::printf("| %s | %.0f MB/s | %.0f MB/s | %.2f | %s |\n", what, result.ours / 1e6,
                result.theirs / 1e6, result.ratio, target);
    std::fflush(stdout);
}

struct MethodRow {
    Method method;
    const EVP_CIPHER *cipher;
    const char *target;
};

void measureMethod(const MethodRow &row, const NoiseFile &file)
{
    const std::unique_ptr<DecryptedVolume> fromFile = makeVolume(file.open(), row.method);
    const std::unique_ptr<DecryptedVolume> alone =
        makeVolume(std::make_shared<ReadySource>(file.size()), row.method);
    const auto theirs = [&] { return plainCipherSpeed(row.cipher); };
    const std::string name = methodName(row.method);
    printSpeeds((name + ", decryption alone, against libcrypto at 512 bytes").c_str(),
                compare([&] { return readSpeed(*alone); }, theirs), row.target);
    printSpeeds((name + ", with reading from the page cache").c_str(),
                compare([&] { return readSpeed(*fromFile); }, theirs), row.target);
}

void measureThreads(const NoiseFile &file)
{
    const std::unique_ptr<DecryptedVolume> volume = makeVolume(file.open(), Method::Aes128Xts);
    printSpeeds(
        "AES-128-XTS, two threads against one",
        compare([&] { return readSpeedOfTwo(*volume); }, [&] { return readSpeed(*volume); }),
        "at least 1.7");
}

void measureStretching()
{
    const Comparison result = compare(stretchSpeed, plainHashSpeed);
    std::printf("| Key stretching, time against bare rounds | %.0f ms | %.0f ms | %.2f | "
                "at most 1.3 |\n",
                1000 / result.ours, 1000 / result.theirs, 1 / result.ratio);
}

void measureAll(size_t mebibytes)
{
    const NoiseFile file(mebibytes);
    const MethodRow rows[] = {
        {Method::Aes128Xts, EVP_aes_128_xts(), "at least 0.8"},
        {Method::Aes256Xts, EVP_aes_256_xts(), "at least 0.8"},
        {Method::Aes128Cbc, EVP_aes_128_cbc(), "at least 0.8"},
        {Method::Aes256Cbc, EVP_aes_256_cbc(), "at least 0.8"},
        {Method::Aes128Elephant, EVP_aes_128_cbc(), "250 MB/s or 0.1"},
        {Method::Aes256Elephant, EVP_aes_256_cbc(), "250 MB/s or 0.1"},
    };
    std::puts("| What | Measured | Compared with | Ratio | Target |");
    std::puts("| --- | --- | --- | --- | --- |");
    for (const MethodRow &row : rows)
        measureMethod(row, file);
    measureThreads(file);
    measureStretching();
}

}  // namespace

int main(int argc, char **argv)
{
    const unsigned long mebibytes = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 1024;
    if (argc > 2 || mebibytes == 0) {
        std::fputs("usage: decrypt-benchmark [MIB]\n", stderr);
        return 2;
    }
    try {
        measureAll(mebibytes);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "decrypt-benchmark: %s\n", error.what());
        return 1;
    }
    return 0;
}
