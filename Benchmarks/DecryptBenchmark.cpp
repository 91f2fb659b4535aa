// decrypt-benchmark [MIB]: how fast encrypted volumes are read, as ratios to libcrypto itself.
//
// Prints rows of a Markdown table and ends with 1 if one of them missed its limit. What is compared
// is measured in turns, a quarter of the volume each, five times over, and the median ratio counts:
// a slow moment of the machine hits both. A row without a limit shows what another one consists of
// or what the machine allows. MIB is the size of the test file (1024), which is made in the
// temporary folder and lies in the page cache while it is read.
#include "Bitlocker/DecryptedVolume.h"
#include "Bitlocker/FileByteSource.h"
#include "Bitlocker/KeyStretcher.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
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
constexpr int kQuarters = 4;

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

// A quarter of something, counted from 0.
using Work = std::function<void(int quarter)>;
// The seconds that all four quarters took, for each repeat.
using Times = std::vector<double>;

std::vector<Times> measureInTurns(const std::vector<Work> &works)
{
    std::vector<Times> times(works.size(), Times(kRepeats));
    for (int repeat = 0; repeat < kRepeats; ++repeat)
        for (int quarter = 0; quarter < kQuarters; ++quarter)
            for (size_t i = 0; i < works.size(); ++i)
                times[i][repeat] += secondsOf([&] { works[i](quarter); });
    return times;
}

// How many times as fast the first is.
double speedRatio(const Times &ours, const Times &theirs)
{
    std::vector<double> ratios;
    for (size_t i = 0; i < ours.size(); ++i)
        ratios.push_back(theirs[i] / ours[i]);
    return median(ratios);
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

// Where a quarter of count things begins.
uint64_t beginOf(uint64_t count, int quarter)
{
    return count * static_cast<uint64_t>(quarter) / kQuarters;
}

void readRange(const DecryptedVolume &volume, uint64_t begin, uint64_t end, uint8_t *buffer)
{
    for (uint64_t offset = begin; offset < end; offset += kRead)
        if (volume.readAt(offset, buffer, std::min<uint64_t>(kRead, end - offset)))
            throw std::runtime_error("a read failed");
}

// ahead: by how many quarters, so that two threads read different ones.
Work reading(const DecryptedVolume &volume, int ahead = 0)
{
    return [&volume, ahead, buffer = std::vector<uint8_t>(kRead)](int quarter) mutable {
        const int place = (quarter + ahead) % kQuarters;
        readRange(volume, beginOf(volume.size(), place), beginOf(volume.size(), place + 1),
                  buffer.data());
    };
}

// As `openssl speed -evp NAME -bytes 512 -decrypt` drives libcrypto: one context, set up once, and
// one call for each block.
class PlainCipher {
public:
    explicit PlainCipher(const EVP_CIPHER *cipher)
    {
        const std::vector<uint8_t> key =
            someKey(static_cast<size_t>(EVP_CIPHER_key_length(cipher)));
        const uint8_t vector[16] = {1};
        if (EVP_DecryptInit_ex(_context.get(), cipher, nullptr, key.data(), vector) != 1 ||
            EVP_CIPHER_CTX_set_padding(_context.get(), 0) != 1)
            throw std::runtime_error("libcrypto refused");
    }

    void decryptInPlace(uint8_t *data, size_t size)
    {
        int done = 0;
        if (EVP_DecryptUpdate(_context.get(), data, &done, data, static_cast<int>(size)) != 1)
            throw std::runtime_error("libcrypto refused");
    }
    void decryptBlocks(uint64_t bytes)
    {
        for (uint64_t done = 0; done < bytes; done += kBlock)
            decryptInPlace(_block.data(), kBlock);
    }

private:
    const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> _context{
        EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free};
    std::vector<uint8_t> _block = std::vector<uint8_t>(kBlock);
};

Work plainCipher(const EVP_CIPHER *cipher, uint64_t bytes)
{
    return [bytes, plain = std::make_shared<PlainCipher>(cipher)](int) {
        plain->decryptBlocks(bytes / kQuarters);
    };
}

// What no reader through libcrypto can be faster than: the file, piece by piece, decrypted as if it
// were one message.
Work readAndPlainCipher(const std::shared_ptr<const ByteSource> &source, const EVP_CIPHER *cipher)
{
    return [source, plain = std::make_shared<PlainCipher>(cipher),
            piece = std::vector<uint8_t>(SectorCipher::kLongestRun)](int quarter) mutable {
        const uint64_t end = beginOf(source->size(), quarter + 1);
        for (uint64_t at = beginOf(source->size(), quarter); at < end; at += piece.size()) {
            const size_t size = std::min<uint64_t>(piece.size(), end - at);
            if (source->readAt(at, piece.data(), size))
                throw std::runtime_error("a read failed");
            plain->decryptInPlace(piece.data(), size);
        }
    };
}

// Both at the same time.
Work together(Work first, Work second)
{
    return [first = std::move(first), second = std::move(second)](int quarter) {
        std::thread other([&] { first(quarter); });
        second(quarter);
        other.join();
    };
}

void stretchKey()
{
    if (!KeyStretcher().stretch(someKey(32), Salt{}, nullptr))
        throw std::runtime_error("stretching failed");
}

// As many hashes of as many bytes, each of which contains the one before.
void hashBare()
{
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(),
                                                                    EVP_MD_CTX_free);
    uint8_t message[88] = {};
    for (uint64_t round = 0; round < KeyStretcher::kRounds; ++round) {
        EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr);
        EVP_DigestUpdate(context.get(), message, sizeof message);
        EVP_DigestFinal_ex(context.get(), message, nullptr);
    }
}

// The rows, and whether all limits were kept.
class Table {
public:
    Table()
    {
        std::puts("| What | Ours | Against | Figure | Limit | Kept |");
        std::puts("| --- | --- | --- | --- | --- | --- |");
    }

    bool allKept() const { return _allKept; }
    void add(const std::string &what, const std::string &ours, const std::string &theirs,
             double figure, const char *limit, bool kept)
    {
        add(what, ours, theirs, figure, limit, kept ? "yes" : "no");
        _allKept = _allKept && kept;
    }
    void addWithoutLimit(const std::string &what, const std::string &ours,
                         const std::string &theirs, double figure)
    {
        add(what, ours, theirs, figure, "", "-");
    }

private:
    static void add(const std::string &what, const std::string &ours, const std::string &theirs,
                    double figure, const char *limit, const char *kept)
    {
        std::printf("| %s | %s | %s | %.2f | %s | %s |\n", what.c_str(), ours.c_str(),
                    theirs.c_str(), figure, limit, kept);
        std::fflush(stdout);
    }

    bool _allKept = true;
};

std::string inMegabytes(double bytes, const Times &times)
{
    return std::to_string(std::lround(bytes / median(times) / 1e6)) + " MB/s";
}

std::string inMilliseconds(const Times &times)
{
    return std::to_string(std::lround(1000 * median(times))) + " ms";
}

struct MethodRow {
    Method method;
    const EVP_CIPHER *cipher;
    const char *limit;  // of the row with reading; empty: none
    double atLeast;     // the ratio
    double orSpeed;     // bytes per second that will do at any ratio
};

void measureMethod(Table &table, const MethodRow &row, const NoiseFile &file)
{
    const std::unique_ptr<DecryptedVolume> fromFile = makeVolume(file.open(), row.method);
    const std::unique_ptr<DecryptedVolume> alone =
        makeVolume(std::make_shared<ReadySource>(file.size()), row.method);
    const std::vector<Times> times =
        measureInTurns({reading(*alone), reading(*fromFile), plainCipher(row.cipher, file.size())});
    const auto bytes = static_cast<double>(file.size());
    const std::string name = methodName(row.method);
    const std::string libcrypto = inMegabytes(bytes, times[2]);
    const double ratio = speedRatio(times[1], times[2]);
    table.addWithoutLimit(name + ", decryption alone / libcrypto at 512 bytes",
                          inMegabytes(bytes, times[0]), libcrypto, speedRatio(times[0], times[2]));
    const std::string what = name + ", read from the page cache / libcrypto at 512 bytes";
    const std::string ours = inMegabytes(bytes, times[1]);
    if (*row.limit == 0)
        table.addWithoutLimit(what, ours, libcrypto, ratio);
    else
        table.add(what, ours, libcrypto, ratio, row.limit,
                  ratio >= row.atLeast || bytes / median(times[1]) >= row.orSpeed);
}

void measureBareReading(Table &table, const NoiseFile &file)
{
    const std::vector<Times> times =
        measureInTurns({readAndPlainCipher(file.open(), EVP_aes_128_cbc()),
                        plainCipher(EVP_aes_128_cbc(), file.size())});
    const auto bytes = static_cast<double>(file.size());
    table.addWithoutLimit(
        "the machine: AES-128-CBC, bare reads and libcrypto / libcrypto at 512 bytes",
        inMegabytes(bytes, times[0]), inMegabytes(bytes, times[1]), speedRatio(times[0], times[1]));
}

// Two threads do twice the work of one.
void measureThreads(Table &table, const NoiseFile &file)
{
    const std::unique_ptr<DecryptedVolume> volume = makeVolume(file.open(), Method::Aes128Xts);
    const Work one = reading(*volume);
    const Work two = together(one, reading(*volume, kQuarters / 2));
    const Work plainOne = plainCipher(EVP_aes_128_xts(), file.size());
    const Work plainTwo = together(plainOne, plainCipher(EVP_aes_128_xts(), file.size()));
    const std::vector<Times> times = measureInTurns({two, one, plainTwo, plainOne});
    const auto bytes = static_cast<double>(file.size());
    const double ours = 2 * speedRatio(times[0], times[1]);
    table.addWithoutLimit("the machine: libcrypto in two threads / in one",
                          inMegabytes(2 * bytes, times[2]), inMegabytes(bytes, times[3]),
                          2 * speedRatio(times[2], times[3]));
    table.add("AES-128-XTS, two threads / one", inMegabytes(2 * bytes, times[0]),
              inMegabytes(bytes, times[1]), ours, "at least 1.7", ours >= 1.7);
}

// Work that cannot be divided.
Work once(void (*whole)())
{
    return [whole](int quarter) {
        if (quarter == 0)
            whole();
    };
}

void measureStretching(Table &table)
{
    const std::vector<Times> times = measureInTurns({once(stretchKey), once(hashBare)});
    const double figure = speedRatio(times[1], times[0]);
    table.add("key stretching, time / bare rounds in libcrypto", inMilliseconds(times[0]),
              inMilliseconds(times[1]), figure, "at most 1.3", figure <= 1.3);
}

// Whether all limits were kept.
bool measureAll(size_t mebibytes)
{
    constexpr double kNoSpeed = HUGE_VAL;
    const NoiseFile file(mebibytes);
    const MethodRow rows[] = {
        {Method::Aes128Xts, EVP_aes_128_xts(), "at least 0.8", 0.8, kNoSpeed},
        {Method::Aes256Xts, EVP_aes_256_xts(), "at least 0.8", 0.8, kNoSpeed},
        {Method::Aes128Cbc, EVP_aes_128_cbc(), "at least 0.8", 0.8, kNoSpeed},
        {Method::Aes256Cbc, EVP_aes_256_cbc(), "", 0, kNoSpeed},
        {Method::Aes128Elephant, EVP_aes_128_cbc(), "at least 250 MB/s or 0.1", 0.1, 250e6},
        {Method::Aes256Elephant, EVP_aes_256_cbc(), "at least 250 MB/s or 0.1", 0.1, 250e6},
    };
    Table table;
    for (const MethodRow &row : rows)
        measureMethod(table, row, file);
    measureBareReading(table, file);
    measureThreads(table, file);
    measureStretching(table);
    return table.allKept();
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
        return measureAll(mebibytes) ? 0 : 1;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "decrypt-benchmark: %s\n", error.what());
        return 1;
    }
}
