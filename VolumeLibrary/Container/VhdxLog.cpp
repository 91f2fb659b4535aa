#include "VhdxLog.h"

#include "ByteReader.h"
#include "Crc32.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <vector>

namespace vx {
namespace {

using Source = std::shared_ptr<const ByteSource>;
using Change = FileChanges::Change;

constexpr uint32_t kPage = FileChanges::kPageBytes;
constexpr uint64_t kMostRounds = 8;
constexpr uint64_t kFurthestPlace = INT64_MAX;

using Page = std::array<uint8_t, kPage>;

struct Entry {
    uint32_t length = 0;  // in bytes, a multiple of a page; 0: there is no valid entry here
    uint32_t tail = 0;    // where the oldest entry lies that was still needed
    uint32_t descriptors = 0;
    bool isOfThisLog = false;
    uint64_t sequence = 0;
    uint64_t flushedBytes = 0;  // the file was at least as long
    uint64_t neededBytes = 0;   // the file must become as long
};

struct Descriptor {
    bool isPage = false;
    bool isSound = false;
    Change change;  // of a page without the place where it is stored
};

Descriptor ParseDescriptor(ByteView bytes, uint64_t sequence)
{
    Descriptor descriptor;
    ByteReader reader(bytes);
    const bool isZeros = ByteReader(bytes).TakeMark("zero");
    descriptor.isPage = ByteReader(bytes).TakeMark("desc");
    reader.Skip(4);
    const ByteView last = reader.Bytes(descriptor.change.last.size());
    const ByteView first = reader.Bytes(descriptor.change.first.size());
    std::copy_n(last.data, last.size, descriptor.change.last.begin());
    std::copy_n(first.data, first.size, descriptor.change.first.begin());
    const uint64_t length = descriptor.isPage ? kPage : U64At(first, 0);
    const uint64_t begin = reader.U64();
    descriptor.isSound = (isZeros || descriptor.isPage) && reader.U64() == sequence &&
                         begin % kPage == 0 && length % kPage == 0 && begin <= kFurthestPlace &&
                         length <= kFurthestPlace - begin;
    descriptor.change.begin = begin;
    descriptor.change.end = descriptor.isSound ? begin + length : begin;
    return descriptor;
}

// The pages of a log, which follow each other in a ring.
class Ring {
public:
    Ring(const ByteSource &file, const VhdxHeader &header) : _file(file), _header(header) {}

    uint32_t Bytes() const { return _header.logBytes; }
    uint32_t After(uint32_t at, uint64_t bytes) const
    {
        return static_cast<uint32_t>((at + bytes) % Bytes());
    }
    uint64_t PlaceOf(uint32_t at) const { return _header.logAt + at; }
    const Guid &Id() const { return _header.log; }

    Error Read(uint32_t at, Page *page) const
    {
        return _file.ReadAt(PlaceOf(at), page->data(), page->size());
    }

private:
    const ByteSource &_file;
    const VhdxHeader &_header;
};

// Walks over the descriptors of an entry.
class EntryWalk {
public:
    static constexpr uint32_t kDescriptorBytes = 32;
    static constexpr uint32_t kHeaderBytes = 64;

    EntryWalk(const Ring &ring, uint32_t at, const Entry &entry)
        : _ring(ring), _at(at), _entry(entry)
    {
    }

    // Before the pages of data: those with the header and the descriptors.
    static uint64_t DescriptorPages(uint32_t descriptors)
    {
        return (kHeaderBytes + uint64_t{descriptors} * kDescriptorBytes + kPage - 1) / kPage;
    }

    // visit: returns false to end early. Errors: those of the reads; false for an entry with a
    // descriptor or a page that is not valid.
    template <typename Visitor>
    Result<bool> Visit(const Visitor &visit) const
    {
        Page page;
        uint64_t dataAt = DescriptorPages(_entry.descriptors) * kPage;
        for (uint32_t number = 0; number < _entry.descriptors; ++number) {
            const uint64_t skip = kHeaderBytes + uint64_t{number} * kDescriptorBytes;
            if (number == 0 || skip % kPage == 0) {
                if (Error error = _ring.Read(_ring.After(_at, skip / kPage * kPage), &page))
                    return error;
            }
            const ByteView bytes = ByteView(page).From(skip % kPage);
            Descriptor found = ParseDescriptor(bytes.First(kDescriptorBytes), _entry.sequence);
            if (!found.isSound || (found.isPage && dataAt >= _entry.length))
                return false;
            if (found.isPage) {
                found.change.storedAt = _ring.PlaceOf(_ring.After(_at, dataAt));
                auto isSound = CheckData(_ring.After(_at, dataAt));
                if (!isSound || !*isSound)
                    return isSound;
                dataAt += kPage;
            }
            if (!visit(found.change))
                return false;
        }
        return true;
    }

private:
    Result<bool> CheckData(uint32_t at) const
    {
        constexpr size_t kHighAt = 4;
        constexpr size_t kLowAt = kPage - 4;
        Page page;
        if (Error error = _ring.Read(at, &page))
            return error;
        const uint64_t sequence = uint64_t{U32At(page, kHighAt)} << 32 | U32At(page, kLowAt);
        return ByteReader(page).TakeMark("data") && sequence == _entry.sequence;
    }

    const Ring &_ring;
    const uint32_t _at;
    const Entry &_entry;
};

// Takes the pages of a log one after the other and finds out whether all that is left in them are
// entries of earlier logs, whole or partly overwritten by later ones. Of an overwritten entry there
// may be left its beginning, up to the entry that begins within its length, and its end, right
// after an entry that is whole. Anything else can be what damage left of an entry of this log.
class Remains {
public:
    // A valid entry. All operations: false if something is in doubt.
    bool TakeEntry()
    {
        const bool isExplained = End();
        _claimed = 0;
        _mayGoOn = true;
        return isExplained;
    }

    bool TakePage(const Page &page)
    {
        if (ByteReader(page).TakeMark("loge"))
            return TakeBeginning(page);
        const bool isPiece = ByteReader(page).TakeMark("data") ||
                             ByteReader(page).TakeMark("desc") || ByteReader(page).TakeMark("zero");
        if (isPiece) {
            _passed += kPage;
            return _mayGoOn && !IsPassed();
        }
        _mayGoOn = false;
        return _claimed == 0 &&
               std::all_of(page.begin(), page.end(), [](uint8_t byte) { return byte == 0; });
    }

    bool End() const { return !IsPassed(); }
    // Whether the last page was an entry or of one.
    bool IsInEntry() const { return _mayGoOn; }

private:
    bool TakeBeginning(const Page &page)
    {
        constexpr size_t kLengthAt = 8;
        const bool isExplained = End();
        _claimed = U32At(page, kLengthAt);
        _passed = kPage;
        _mayGoOn = true;
        return isExplained && _claimed > kPage;
    }

    // Whether all of an entry that is not valid is there: nothing has overwritten it.
    bool IsPassed() const { return _claimed > 0 && _passed >= _claimed; }

    uint64_t _claimed = 0;  // the length of an entry that is not valid; 0: no such entry precedes
    uint64_t _passed = 0;   // what of it has been taken
    bool _mayGoOn = false;
};

// Finds the active sequence.
class LogSearch {
public:
    explicit LogSearch(const Ring &ring)
        : _ring(ring), _entries(ring.Bytes() / kPage), _earlier(ring.Bytes() / kPage)
    {
    }

    // The places of the entries to apply, the oldest first; none if no sequence is complete.
    Result<std::vector<uint32_t>> Find()
    {
        if (Error error = ReadEntries())
            return error;
        std::vector<uint32_t> active;
        uint32_t tail = 0;
        while (true) {
            const std::vector<uint32_t> sequence = SequenceFrom(tail);
            const auto begin = sequence.empty() ? sequence.end()
                                                : std::find(sequence.begin(), sequence.end(),
                                                            At(sequence.back()).tail);
            const bool isComplete = begin != sequence.end();
            if (isComplete &&
                (active.empty() || At(sequence.back()).sequence > At(active.back()).sequence))
                active.assign(begin, sequence.end());
            const uint32_t step =
                isComplete ? Distance(tail, sequence.back()) + At(sequence.back()).length : kPage;
            if (step >= _ring.Bytes() - tail)
                return active;
            tail += step;
        }
    }

    const Entry &At(uint32_t place) const { return _entries[place / kPage]; }
    // After Find: whether nothing in the log can be an entry of it, damaged or not.
    Result<bool> IsJustBegun() const
    {
        if (_hasTraces)
            return false;
        const auto first = std::find_if(_earlier.begin(), _earlier.end(),
                                        [](uint32_t length) { return length > 0; });
        uint32_t at =
            first == _earlier.end() ? 0 : static_cast<uint32_t>(first - _earlier.begin()) * kPage;
        Remains remains;
        Page page;
        for (uint64_t done = 0; done < _ring.Bytes();) {
            const uint32_t length = _earlier[at / kPage];
            if (length == 0) {
                if (Error error = _ring.Read(at, &page))
                    return error;
            }
            if (length > 0 ? !remains.TakeEntry() : !remains.TakePage(page))
                return false;
            done += std::max(length, kPage);
            at = _ring.After(at, std::max(length, kPage));
        }
        return first == _earlier.end() ? !remains.IsInEntry() : remains.End();
    }

private:
    uint32_t Distance(uint32_t from, uint32_t to) const
    {
        return _ring.After(to, _ring.Bytes() - from);
    }

    Error ReadEntries()
    {
        for (uint32_t at = 0; at < _ring.Bytes(); at += kPage) {
            const auto entry = ReadEntry(at);
            if (!entry)
                return entry.Failure();
            if (entry->isOfThisLog)
                _entries[at / kPage] = *entry;
            else
                _earlier[at / kPage] = entry->length;
        }
        return {};
    }

    // One of length 0 for what is not a valid entry, of this log or of an earlier one.
    Result<Entry> ReadEntry(uint32_t at)
    {
        Page page;
        if (Error error = _ring.Read(at, &page))
            return error;
        const std::optional<Entry> entry = Parse(page);
        if (!entry)
            return Entry{};
        const auto isWhole =
            EntryWalk(_ring, at, *entry).Visit([](const Change &) { return true; });
        if (!isWhole)
            return isWhole.Failure();
        if (!*isWhole)
            return Entry{};
        _checkedBytes += entry->length;
        if (_checkedBytes > kMostRounds * _ring.Bytes())
            return DamagedVhdx("the entries of its log overlap");
        const auto checksum = ChecksumOf(at, *entry);
        if (!checksum)
            return checksum.Failure();
        return *checksum == U32At(page, kChecksumAt) ? *entry : Entry{};
    }

    std::optional<Entry> Parse(const Page &page)
    {
        ByteReader reader(page);
        Entry entry;
        const bool hasMark = reader.TakeMark("loge");
        reader.Skip(4);  // checksum
        entry.length = reader.U32();
        entry.tail = reader.U32();
        entry.sequence = reader.U64();
        entry.descriptors = reader.U32();
        reader.Skip(4);
        entry.isOfThisLog = reader.TakeGuid() == _ring.Id();
        entry.flushedBytes = reader.U64();
        entry.neededBytes = reader.U64();
        _hasTraces = _hasTraces || entry.isOfThisLog;
        const bool isInRing = entry.length > 0 && entry.length % kPage == 0 &&
                              entry.length <= _ring.Bytes() && entry.tail % kPage == 0 &&
                              entry.tail < _ring.Bytes();
        const bool holdsAll = EntryWalk::DescriptorPages(entry.descriptors) <= entry.length / kPage;
        if (!hasMark || entry.sequence == 0 || !isInRing || !holdsAll)
            return std::nullopt;
        return entry;
    }

    Result<uint32_t> ChecksumOf(uint32_t at, const Entry &entry) const
    {
        Crc32 checksum(Crc32::Kind::kCastagnoli);
        Page page;
        for (uint32_t done = 0; done < entry.length; done += kPage) {
            if (Error error = _ring.Read(_ring.After(at, done), &page))
                return error;
            if (done == 0)
                std::memset(page.data() + kChecksumAt, 0, 4);
            checksum.Add(page);
        }
        return checksum.Value();
    }

    // As long as each entry follows the one before it and none is passed twice.
    std::vector<uint32_t> SequenceFrom(uint32_t at) const
    {
        std::vector<uint32_t> places;
        uint64_t sequence = At(at).sequence;
        for (uint64_t bytes = At(at).length; At(at).length != 0 && bytes <= _ring.Bytes();
             bytes += At(at).length) {
            if (At(at).sequence != sequence++)
                break;
            places.push_back(at);
            at = _ring.After(at, At(at).length);
        }
        return places;
    }

    static constexpr size_t kChecksumAt = 4;

    const Ring &_ring;
    std::vector<Entry> _entries;     // of this log, one for each page
    std::vector<uint32_t> _earlier;  // of earlier logs: their lengths in bytes, 0 for none
    uint64_t _checkedBytes = 0;
    bool _hasTraces = false;
};

Error CheckLog(const ByteSource &file, const VhdxHeader &header)
{
    if (header.logVersion != 0)
        return {Status::kUnsupportedContainer,
                "it is a VHDX image whose log is of an unknown version"};
    const bool isAligned = header.logAt % kVhdxUnit == 0 && header.logBytes % kVhdxUnit == 0;
    if (!isAligned || header.logAt < kVhdxUnit || header.logBytes == 0 ||
        header.logAt > kFurthestPlace)
        return DamagedVhdx("the place of its log makes no sense");
    if (header.logBytes > kLargestVhdxLog)
        return {Status::kUnsupportedContainer,
                "it is a VHDX image whose log was not replayed and is larger than 64 MiB: let the "
                "program that wrote it close it first"};
    if (header.logAt > file.Size() || file.Size() - header.logAt < header.logBytes)
        return CutVhdx();
    return {};
}

Error NoSequence()
{
    return DamagedVhdx(
        "its log was not replayed, and has no complete sequence of entries; take another copy of "
        "the image while no virtual machine uses it, or convert it with qemu-img, which leaves such "
        "a log out, so that what was written last is lost");
}

Result<ReplayedVhdx> Apply(const Source &file, const Ring &ring, const LogSearch &search,
                           const std::vector<uint32_t> &active)
{
    const Entry &head = search.At(active.back());
    if (file->Size() < head.flushedBytes)
        return CutVhdx();
    if (head.neededBytes > kFurthestPlace)
        return DamagedVhdx("its log makes it too large");
    FileChanges changes;
    for (const uint32_t at : active) {
        const auto isApplied = EntryWalk(ring, at, search.At(at)).Visit([&](const Change &change) {
            return changes.Add(change);
        });
        if (!isApplied)
            return isApplied.Failure();
        if (!*isApplied)
            return Error{Status::kUnsupportedContainer,
                         "it is a VHDX image with too many changes in its log: let the program "
                         "that wrote it close it first"};
    }
    return ReplayedVhdx{std::make_shared<ReplayedSource>(file, changes, head.neededBytes),
                        "the VHDX image was copied or left while it was in use; the changes in its "
                        "log are taken into account"};
}

}  // namespace

Result<ReplayedVhdx> ReplayVhdxLog(const Source &file, const VhdxHeader &header)
{
    if (!header.HasLog())
        return ReplayedVhdx{file, ""};
    if (Error error = CheckLog(*file, header))
        return error;
    const Ring ring(*file, header);
    LogSearch search(ring);
    const auto active = search.Find();
    if (!active)
        return active.Failure();
    if (!active->empty())
        return Apply(file, ring, search, *active);
    const auto isJustBegun = search.IsJustBegun();
    if (!isJustBegun)
        return isJustBegun.Failure();
    if (!*isJustBegun)
        return NoSequence();
    return ReplayedVhdx{file,
                        "the VHDX image was copied or left while it was in use; its log, which "
                        "was just begun, has no changes"};
}

}  // namespace vx
