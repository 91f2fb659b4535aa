// Whole packed streams that are made with libwim's chunks.
#include "ByteReader.h"
#include "PackedContents.h"
#include "ResidentFile.h"
#include "WimChunks.h"

#include <gtest/gtest.h>

namespace vx {
namespace {

using Bytes = WimChunks::Bytes;

ByteView ViewOf(const std::string &bytes)
{
    return {reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size()};
}

std::string ReadAll(VolumeFile *file, uint32_t atATime)
{
    std::string bytes;
    const auto size = static_cast<size_t>(file->Size().value_or(0));
    while (bytes.size() < size) {
        std::string piece(std::min<size_t>(atATime, size - bytes.size()), '?');
        uint32_t done = 0;
        EXPECT_TRUE(file->Read(piece.data(), static_cast<uint32_t>(piece.size()), &done));
        bytes += piece;
    }
    return bytes;
}

TEST(PackedFiles, EveryFormOfEveryContentsIsReadAtAnySize)
{
    for (const PackedForm &form : kPackedForms) {
        const WimChunks wim(form);
        const size_t c = form.chunkBytes;
        for (const ContentsKind kind : kAllContents) {
            for (const size_t size : {size_t{0}, size_t{1}, c - 1, c, c + 1, 2 * c - 1, 2 * c,
                                      2 * c + 1, 17 * c - 1, 17 * c, 17 * c + 1}) {
                const std::string contents = ContentsOf(kind, size);
                WofFile file(std::make_unique<ResidentFile>(wim.Stream(ViewOf(contents))), size,
                             form.packing);
                EXPECT_TRUE(ReadAll(&file, 1 << 20) == contents) << size;
                WofFile again(std::make_unique<ResidentFile>(wim.Stream(ViewOf(contents))), size,
                              form.packing);
                EXPECT_TRUE(ReadAll(&again, 10007) == contents) << size;
            }
        }
    }
}

TEST(PackedFiles, ADamagedChunkIsLostWholeAndNoOtherIs)
{
    for (const PackedForm &form : kPackedForms) {
        const WimChunks wim(form);
        const std::string contents = ContentsOf(ContentsKind::kText, 5 * form.chunkBytes);
        Bytes stream = wim.Stream(ViewOf(contents));
        const uint64_t second = 16 + U32At(stream, 0);
        const uint64_t third = 16 + U32At(stream, 4);
        std::fill(stream.begin() + static_cast<long>(second),
                  stream.begin() + static_cast<long>(third), uint8_t{0});
        WofFile file(std::make_unique<ResidentFile>(stream), contents.size(), form.packing);
        std::string found(contents.size(), '?');
        uint32_t done = 0;
        EXPECT_FALSE(file.Read(found.data(), static_cast<uint32_t>(found.size()), &done));
        ASSERT_EQ(file.UnreadRanges().size(), 1u);
        EXPECT_EQ(file.UnreadRanges()[0].offset, form.chunkBytes);
        EXPECT_EQ(file.UnreadRanges()[0].length, form.chunkBytes);
        std::string expected = contents;
        expected.replace(form.chunkBytes, form.chunkBytes, form.chunkBytes, '\0');
        EXPECT_TRUE(found == expected);
        EXPECT_EQ(done, contents.size() - form.chunkBytes);
    }
}

// The packed stream of a large file that repeats a few chunks, made as it is read.
class RepeatedStream final : public VolumeFile {
public:
    RepeatedStream(const PackedForm &form, const std::string &period, uint64_t size)
        : _entries((size - 1) / form.chunkBytes),
          _ends(EndsOf(form, period, &_packed)),
          _tail(Bytes(StreamOf(form, period.substr(0, size % period.size()))))
    {
        const uint64_t chunks = size / form.chunkBytes;
        _whole = chunks / _ends.size();
    }

    std::optional<int64_t> Size() const override { return KnownSize(); }

protected:
    int64_t KnownSize() const override
    {
        return static_cast<int64_t>(8 * _entries + _whole * _packed.size() + _tail.size());
    }
    uint32_t ReadAt(int64_t position, char *buffer, uint32_t count, ByteRanges *) override
    {
        for (uint32_t i = 0; i < count; ++i)
            buffer[i] = static_cast<char>(At(static_cast<uint64_t>(position) + i));
        return count;
    }

private:
    // Where the packed chunks of a period end; all of them.
    static std::vector<uint64_t> EndsOf(const PackedForm &form, const std::string &period,
                                        Bytes *packed)
    {
        const WimChunks wim(form);
        std::vector<uint64_t> ends;
        for (size_t at = 0; at < period.size(); at += form.chunkBytes) {
            const Bytes chunk = wim.Pack(ViewOf(period).From(at).First(form.chunkBytes)).value();
            packed->insert(packed->end(), chunk.begin(), chunk.end());
            ends.push_back(packed->size());
        }
        return ends;
    }
    // What begins a period at the end of the file, as one chunk.
    static Bytes StreamOf(const PackedForm &form, const std::string &rest)
    {
        return WimChunks(form).Stream(ViewOf(rest));
    }
    uint8_t At(uint64_t place) const
    {
        if (place < 8 * _entries) {
            const uint64_t chunk = place / 8;
            const uint64_t end =
                chunk / _ends.size() * _packed.size() + _ends[chunk % _ends.size()];
            return static_cast<uint8_t>(end >> 8 * (place % 8));
        }
        place -= 8 * _entries;
        return place < _whole * _packed.size() ? _packed[place % _packed.size()]
                                               : _tail[place - _whole * _packed.size()];
    }

    const uint64_t _entries;
    Bytes _packed;
    const std::vector<uint64_t> _ends;
    const Bytes _tail;
    uint64_t _whole = 0;
};

TEST(PackedFiles, AFileOfMoreThanFourGibibytesIsReadAnywhere)
{
    for (const PackedForm &form : kPackedForms) {
        // Three different chunks again and again, and one short chunk.
        const std::string period = ContentsOf(ContentsKind::kText, 3 * form.chunkBytes);
        const uint64_t periods = (uint64_t{5} << 30) / period.size();
        const uint64_t size = periods * period.size() + form.chunkBytes / 2 + 1;
        WofFile file(std::make_unique<RepeatedStream>(form, period, size), size, form.packing);
        const uint64_t k4GiB = uint64_t{1} << 32;
        for (const uint64_t at : {uint64_t{0}, k4GiB - 50001, k4GiB, size - 200000}) {
            std::string found(200000, '?');
            uint32_t done = 0;
            ASSERT_TRUE(file.Move(static_cast<int64_t>(at), 0));
            EXPECT_TRUE(file.Read(found.data(), 200000, &done)) << at;
            std::string expected;
            for (uint64_t i = 0; i < found.size(); ++i)
                expected += period[(at + i) % period.size()];
            EXPECT_TRUE(found == expected) << at;
        }
    }
}

}  // namespace
}  // namespace vx
