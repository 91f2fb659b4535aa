// decrypt-benchmark [MIB]: how fast encrypted volumes are read, as ratios to libcrypto itself.
//
// Prints rows of a Markdown table and ends with 1 if one of them missed its limit. What is compared
// is measured in turns, a quarter of the volume each, five times over, and the median ratio counts:
// a slow moment of the machine hits both. A row without a limit shows what another one consists of
// or what the machine allows. MIB is the size of the test file (1024), which is made in the
// temporary folder and lies in the page cache while it is read.
#include "DecryptedVolume.h"
#include "FileByteSource.h"
#include "KeyStretcher.h"

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

using namespace vx;
using namespace vx::bitlocker;

namespace {

constexpr size_t kMebi = 1024 * 1024;
constexpr size_t kRead = 4 * kMebi;
constexpr size_t kBlock = 512;
constexpr uint32_t kSectorSize = 512;
constexpr int kRepeats = 5;
constexpr int kQuarters = 4;

double SecondsOf(const std::function<void()> &work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// A quarter of something, counted from 0.
using Work = std::function<void(int quarter)>;
// The seconds that all four quarters took, for each repeat.
using Times = std::vector<double>;

std::vector<Times> MeasureInTurns(const std::vector<Work> &works)
{
    std::vector<Times> times(works.size(), Times(kRepeats));
    for (int repeat = 0; repeat < kRepeats; ++repeat)
        for (int quarter = 0; quarter < kQuarters; ++quarter)
            for (size_t i = 0; i < works.size(); ++i)
                times[i][repeat] += SecondsOf([&] { works[i](quarter); });
    return times;
}

// How many times as fast the first is.
double SpeedRatio(const Times &ours, const Times &theirs)
{
    std::vector<double> ratios;
    for (size_t i = 0; i < ours.size(); ++i)
        ratios.push_back(theirs[i] / ours[i]);
    return Median(ratios);
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

    std::shared_ptr<const ByteSource> Open() const
    {
        Result<std::unique_ptr<FileByteSource>> file = FileByteSource::Open(_path);
        if (!file)
            throw std::runtime_error(file.Failure().detail);
        return std::move(*file);
    }
    uint64_t Size() const { return _size; }

private:
    std::string _path;
    uint64_t _size;
};

// A source of the same size that has its bytes at hand: what is left is the decryption.
class ReadySource : public ByteSource {
public:
    explicit ReadySource(uint64_t size) : _size(size) {}
    uint64_t Size() const override { return _size; }
    Error ReadAt(uint64_t, void *, size_t) const override { return {}; }

private:
    const uint64_t _size;
};

std::vector<uint8_t> SomeKey(size_t size)
{
    std::vector<uint8_t> key(size);
    for (size_t i = 0; i < size; ++i)
        key[i] = static_cast<uint8_t>(i * 7 + 1);
    return key;
}

// A volume that is encrypted from its first byte to its last.
std::unique_ptr<DecryptedVolume> MakeVolume(const std::shared_ptr<const ByteSource> &source,
                                            Method method)
{
    MetadataBlock block;
    block.version = 2;
    block.encryptedSize = source->Size();
    block.copies.fill(UINT64_MAX);
    VolumeLayout layout(block, kSectorSize, source->Size(), std::nullopt);
    return std::make_unique<DecryptedVolume>(
        source, std::move(layout),
        MakeSectorCipher(method, SomeKey(SectorKeySize(method)), kSectorSize),
        std::vector<DecryptedVolume::Patch>());
}

// Where a quarter of count things begins.
uint64_t BeginOf(uint64_t count, int quarter)
{
    return count * static_cast<uint64_t>(quarter) / kQuarters;
}

void ReadRange(const DecryptedVolume &volume, uint64_t begin, uint64_t end, uint8_t *buffer)
{
    for (uint64_t offset = begin; offset < end; offset += kRead)
        if (volume.ReadAt(offset, buffer, std::min<uint64_t>(kRead, end - offset)))
            throw std::runtime_error("a read failed");
}

// ahead: by how many quarters, so that two threads read different ones.
Work Reading(const DecryptedVolume &volume, int ahead = 0)
{
    return [&volume, ahead, buffer = std::vector<uint8_t>(kRead)](int quarter) mutable {
        const int place = (quarter + ahead) % kQuarters;
        ReadRange(volume, BeginOf(volume.Size(), place), BeginOf(volume.Size(), place + 1),
                  buffer.data());
    };
}

// As `openssl speed -evp NAME -bytes 512 -decrypt` drives libcrypto: one context, set up once, and
// one call for each block.
class BareCipher {
public:
    explicit BareCipher(const EVP_CIPHER *cipher)
    {
        const std::vector<uint8_t> key =
            SomeKey(static_cast<size_t>(EVP_CIPHER_key_length(cipher)));
        const uint8_t vector[16] = {1};
        if (EVP_DecryptInit_ex(_context.get(), cipher, nullptr, key.data(), vector) != 1 ||
            EVP_CIPHER_CTX_set_padding(_context.get(), 0) != 1)
            throw std::runtime_error("libcrypto refused");
    }

    void DecryptInPlace(uint8_t *data, size_t size)
    {
        int done = 0;
        if (EVP_DecryptUpdate(_context.get(), data, &done, data, static_cast<int>(size)) != 1)
            throw std::runtime_error("libcrypto refused");
    }
    void DecryptBlocks(uint64_t bytes)
    {
        for (uint64_t done = 0; done < bytes; done += kBlock)
            DecryptInPlace(_block.data(), kBlock);
    }

private:
    const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> _context{
        EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free};
    std::vector<uint8_t> _block = std::vector<uint8_t>(kBlock);
};

Work PlainCipher(const EVP_CIPHER *cipher, uint64_t bytes)
{
    return [bytes, plain = std::make_shared<BareCipher>(cipher)](int) {
        plain->DecryptBlocks(bytes / kQuarters);
    };
}

// The upper limit of any reader through libcrypto: the file, piece by piece, decrypted as if it
// were one message.
Work ReadAndPlainCipher(const std::shared_ptr<const ByteSource> &source, const EVP_CIPHER *cipher)
{
    return [source, plain = std::make_shared<BareCipher>(cipher),
            piece = std::vector<uint8_t>(SectorCipher::kLongestRun)](int quarter) mutable {
        const uint64_t end = BeginOf(source->Size(), quarter + 1);
        for (uint64_t at = BeginOf(source->Size(), quarter); at < end; at += piece.size()) {
            const size_t size = std::min<uint64_t>(piece.size(), end - at);
            if (source->ReadAt(at, piece.data(), size))
                throw std::runtime_error("a read failed");
            plain->DecryptInPlace(piece.data(), size);
        }
    };
}

// Both at the same time.
Work Together(Work first, Work second)
{
    return [first = std::move(first), second = std::move(second)](int quarter) {
        std::thread other([&] { first(quarter); });
        second(quarter);
        other.join();
    };
}

void StretchKey()
{
    if (!KeyStretcher().Stretch(SomeKey(32), Salt{}, nullptr))
        throw std::runtime_error("stretching failed");
}

// As many hashes of as many bytes, each of which contains the one before.
void HashBare()
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

    bool AllKept() const { return _allKept; }
    void Add(const std::string &what, const std::string &ours, const std::string &theirs,
             double figure, const char *limit, bool kept)
    {
        Add(what, ours, theirs, figure, limit, kept ? "yes" : "no");
        _allKept = _allKept && kept;
    }
    void AddWithoutLimit(const std::string &what, const std::string &ours,
                         const std::string &theirs, double figure)
    {
        Add(what, ours, theirs, figure, "", "-");
    }

private:
    static void Add(const std::string &what, const std::string &ours, const std::string &theirs,
                    double figure, const char *limit, const char *kept)
    {
        std::printf("| %s | %s | %s | %.2f | %s | %s |\n", what.c_str(), ours.c_str(),
                    theirs.c_str(), figure, limit, kept);
        std::fflush(stdout);
    }

    bool _allKept = true;
};

std::string InMegabytes(double bytes, const Times &times)
{
    return std::to_string(std::lround(bytes / Median(times) / 1e6)) + " MB/s";
}

std::string InMilliseconds(const Times &times)
{
    return std::to_string(std::lround(1000 * Median(times))) + " ms";
}

struct MethodRow {
    Method method;
    const EVP_CIPHER *cipher;
    const char *limit;  // of the row with reading; empty: none
    double atLeast;     // the ratio
    double orSpeed;     // bytes per second that will do at any ratio
};

void MeasureMethod(Table &table, const MethodRow &row, const NoiseFile &file)
{
    const std::unique_ptr<DecryptedVolume> fromFile = MakeVolume(file.Open(), row.method);
    const std::unique_ptr<DecryptedVolume> alone =
        MakeVolume(std::make_shared<ReadySource>(file.Size()), row.method);
    const std::vector<Times> times =
        MeasureInTurns({Reading(*alone), Reading(*fromFile), PlainCipher(row.cipher, file.Size())});
    const auto bytes = static_cast<double>(file.Size());
    const std::string name = MethodName(row.method);
    const std::string libcrypto = InMegabytes(bytes, times[2]);
    const double ratio = SpeedRatio(times[1], times[2]);
    table.AddWithoutLimit(name + ", decryption alone / libcrypto at 512 bytes",
                          InMegabytes(bytes, times[0]), libcrypto, SpeedRatio(times[0], times[2]));
    const std::string what = name + ", read from the page cache / libcrypto at 512 bytes";
    const std::string ours = InMegabytes(bytes, times[1]);
    if (*row.limit == 0)
        table.AddWithoutLimit(what, ours, libcrypto, ratio);
    else
        table.Add(what, ours, libcrypto, ratio, row.limit,
                  ratio >= row.atLeast || bytes / Median(times[1]) >= row.orSpeed);
}

void MeasureBareReading(Table &table, const NoiseFile &file)
{
    const std::vector<Times> times =
        MeasureInTurns({ReadAndPlainCipher(file.Open(), EVP_aes_128_cbc()),
                        PlainCipher(EVP_aes_128_cbc(), file.Size())});
    const auto bytes = static_cast<double>(file.Size());
    table.AddWithoutLimit(
        "the machine: AES-128-CBC, bare reads and libcrypto / libcrypto at 512 bytes",
        InMegabytes(bytes, times[0]), InMegabytes(bytes, times[1]), SpeedRatio(times[0], times[1]));
}

// Two threads do twice the work of one.
void MeasureThreads(Table &table, const NoiseFile &file)
{
    const std::unique_ptr<DecryptedVolume> volume = MakeVolume(file.Open(), Method::kAes128Xts);
    const Work one = Reading(*volume);
    const Work two = Together(one, Reading(*volume, kQuarters / 2));
    const Work plainOne = PlainCipher(EVP_aes_128_xts(), file.Size());
    const Work plainTwo = Together(plainOne, PlainCipher(EVP_aes_128_xts(), file.Size()));
    const std::vector<Times> times = MeasureInTurns({two, one, plainTwo, plainOne});
    const auto bytes = static_cast<double>(file.Size());
    const double ours = 2 * SpeedRatio(times[0], times[1]);
    table.AddWithoutLimit("the machine: libcrypto in two threads / in one",
                          InMegabytes(2 * bytes, times[2]), InMegabytes(bytes, times[3]),
                          2 * SpeedRatio(times[2], times[3]));
    table.Add("AES-128-XTS, two threads / one", InMegabytes(2 * bytes, times[0]),
              InMegabytes(bytes, times[1]), ours, "at least 1.7", ours >= 1.7);
}

// Work that cannot be divided.
Work Once(void (*whole)())
{
    return [whole](int quarter) {
        if (quarter == 0)
            whole();
    };
}

void MeasureStretching(Table &table)
{
    const std::vector<Times> times = MeasureInTurns({Once(StretchKey), Once(HashBare)});
    const double figure = SpeedRatio(times[1], times[0]);
    table.Add("key stretching, time / bare rounds in libcrypto", InMilliseconds(times[0]),
              InMilliseconds(times[1]), figure, "at most 1.3", figure <= 1.3);
}

// Whether all limits were kept.
bool MeasureAll(size_t mebibytes)
{
    constexpr double kNoSpeed = HUGE_VAL;
    const NoiseFile file(mebibytes);
    const MethodRow rows[] = {
        {Method::kAes128Xts, EVP_aes_128_xts(), "at least 0.8", 0.8, kNoSpeed},
        {Method::kAes256Xts, EVP_aes_256_xts(), "at least 0.8", 0.8, kNoSpeed},
        {Method::kAes128Cbc, EVP_aes_128_cbc(), "at least 0.8", 0.8, kNoSpeed},
        {Method::kAes256Cbc, EVP_aes_256_cbc(), "", 0, kNoSpeed},
        {Method::kAes128Elephant, EVP_aes_128_cbc(), "at least 250 MB/s or 0.1", 0.1, 250e6},
        {Method::kAes256Elephant, EVP_aes_256_cbc(), "at least 250 MB/s or 0.1", 0.1, 250e6},
    };
    Table table;
    for (const MethodRow &row : rows)
        MeasureMethod(table, row, file);
    MeasureBareReading(table, file);
    MeasureThreads(table, file);
    MeasureStretching(table);
    return table.AllKept();
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
        return MeasureAll(mebibytes) ? 0 : 1;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "decrypt-benchmark: %s\n", error.what());
        return 1;
    }
}
