#include "VmdkPlaces.h"

#include "ByteReader.h"
#include "PieceClaims.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace vx {
namespace {

constexpr uint64_t kSector = VmdkHeader::kSector;
constexpr size_t kNumberBytes = 4;
constexpr uint64_t kTablesAtOnce = 4096;

using Numbers = std::optional<std::vector<uint32_t>>;

bool IsZeros(uint32_t sector)
{
    return sector <= VmdkHeader::kReadsAsZeros;
}

bool IsSame(uint32_t one, uint32_t other)
{
    return one == other || (IsZeros(one) && IsZeros(other));
}

// Both directories, from the first table to the last.
class BothTables {
public:
    BothTables(const ByteSource &file, const VmdkHeader &header) : _file(file), _header(header) {}

    uint64_t Tables() const
    {
        const uint64_t ofTable = _header.grain * _header.entries;
        return (_header.capacity + ofTable - 1) / ofTable;
    }

    bool HasCopy() const
    {
        return _header.secondDirectory > 0 && _header.secondDirectory <= _file.Size() / kSector;
    }

    // visit(first, sectors, others): the tables from this one on as each directory has them.
    template <typename Visitor>
    void VisitDirectories(const Visitor &visit)
    {
        const uint64_t tables = Tables();
        for (uint64_t first = 0; first < tables && !_isExhausted; first += kTablesAtOnce) {
            const uint64_t count = std::min(kTablesAtOnce, tables - first);
            const uint64_t skipped = first * kNumberBytes / kSector;
            const Numbers one = Read(_header.directory + skipped, count);
            const Numbers other =
                HasCopy() ? Read(_header.secondDirectory + skipped, count) : std::nullopt;
            visit(first, one, other);
        }
    }

    // visit(number, one, other): a grain of the disk, and where it lies. A table that cannot be
    // read says what the other one says.
    template <typename Visitor>
    void VisitGrains(const Visitor &visit)
    {
        VisitDirectories([&](uint64_t first, const Numbers &sectors, const Numbers &others) {
            const size_t count = sectors ? sectors->size() : others ? others->size() : 0;
            for (size_t i = 0; i < count && !_isExhausted; ++i) {
                if ((sectors && (*sectors)[i] != 0) || (others && (*others)[i] != 0))
                    VisitTable(first + i, TableOf(sectors, i), TableOf(others, i), visit);
            }
        });
    }

    // Whether more would be read than sound tables have, or than is checked.
    bool IsExhausted() const { return _isExhausted; }

private:
    template <typename Visitor>
    void VisitTable(uint64_t table, const Numbers &one, const Numbers &other, const Visitor &visit)
    {
        const Numbers &any = one ? one : other;
        if (!any)
            return;
        const uint64_t first = table * _header.entries;
        const uint64_t grains = (_header.capacity + _header.grain - 1) / _header.grain;
        for (size_t i = 0; i < any->size() && first + i < grains; ++i)
            visit(first + i, (one ? *one : *any)[i], (other ? *other : *any)[i]);
    }

    Numbers TableOf(const Numbers &directory, size_t index)
    {
        if (!directory)
            return std::nullopt;
        const uint32_t sector = (*directory)[index];
        return sector == 0 ? Numbers(std::vector<uint32_t>(_header.entries))
                           : Read(sector, _header.entries);
    }

    Numbers Read(uint64_t sector, uint64_t count)
    {
        const uint64_t length = count * kNumberBytes;
        if (sector > _file.Size() / kSector || length > _file.Size() - sector * kSector)
            return std::nullopt;
        _bytesRead += length;
        _isExhausted = _bytesRead > 2 * std::min(_file.Size(), VmdkHeader::kMostChecked);
        std::vector<uint8_t> bytes(static_cast<size_t>(length));
        if (_isExhausted || _file.ReadAt(sector * kSector, bytes.data(), bytes.size()))
            return std::nullopt;
        std::vector<uint32_t> numbers;
        numbers.reserve(static_cast<size_t>(count));
        for (ByteReader reader(bytes); reader.Left() > 0;)
            numbers.push_back(reader.U32());
        return numbers;
    }

    const ByteSource &_file;
    const VmdkHeader &_header;
    uint64_t _bytesRead = 0;
    bool _isExhausted = false;
};

class Examination {
public:
    Examination(const ByteSource &file, const VmdkHeader &header)
        : _file(file),
          _header(header),
          _grainBytes(header.grain * kSector),
          _claims(file.Size(), _grainBytes, Beside())
    {
    }

    VmdkPlaces Run()
    {
        ClaimWhatIsAgreed();
        if (_found.disputedGrains > 0) {
            FindImplausible();
            ClaimWhatIsChosen();
        }
        _found.contested = _claims.Contested();
        _found.isComplete = _found.isComplete && _claims.IsComplete();
        return std::move(_found);
    }

private:
    // The header, the text, the directories and the tables.
    ByteRanges Beside()
    {
        constexpr size_t kMostTables = size_t{1} << 18;
        BothTables both(_file, _header);
        const uint64_t directoryBytes = both.Tables() * kNumberBytes;
        ByteRanges beside = {{0, kSector}, {_header.directory * kSector, directoryBytes}};
        if (both.HasCopy())
            beside.push_back({_header.secondDirectory * kSector, directoryBytes});
        const uint64_t sectors = _file.Size() / kSector;
        if (_header.text <= sectors && _header.textSectors <= sectors - _header.text)
            beside.push_back({_header.text * kSector, _header.textSectors * kSector});
        const auto take = [&](const Numbers &tables) {
            for (const uint32_t sector : tables.value_or(std::vector<uint32_t>())) {
                if (sector != 0 && beside.size() < kMostTables)
                    AddRange(sector * kSector, _header.entries * kNumberBytes, &beside);
            }
        };
        both.VisitDirectories([&](uint64_t, const Numbers &one, const Numbers &other) {
            take(one);
            take(other);
        });
        _found.isComplete = beside.size() < kMostTables;
        return beside;
    }

    void ClaimWhatIsAgreed()
    {
        LostRanges disputed;
        BothTables both(_file, _header);
        both.VisitGrains([&](uint64_t number, uint32_t one, uint32_t other) {
            if (!IsSame(one, other)) {
                disputed.Add({number * _grainBytes, _grainBytes});
                ++_found.disputedGrains;
            } else if (!IsZeros(one)) {
                _claims.Add(one * kSector);
            }
        });
        _found.hasAllDisputed = !both.IsExhausted();
        _found.isComplete = _found.isComplete && _found.hasAllDisputed;
        _found.disputed = disputed.All();
    }

    template <typename Visitor>
    void VisitDisputed(const Visitor &visit)
    {
        BothTables(_file, _header).VisitGrains([&](uint64_t number, uint32_t one, uint32_t other) {
            if (!IsSame(one, other))
                visit(number, one, other);
        });
    }

    void FindImplausible()
    {
        LostRanges implausible;
        LostRanges onTables;
        VisitDisputed([&](uint64_t, uint32_t one, uint32_t other) {
            for (const uint32_t sector : {one, other}) {
                const uint64_t at = sector * kSector;
                if (IsZeros(sector) || !_claims.IsTaken(at))
                    continue;
                implausible.Add({at, kSector});
                if (_claims.IsBeside(at))
                    onTables.Add({at, kSector});
            }
        });
        _found.implausible = implausible.All();
        _found.onTables = onTables.All();
    }

    void ClaimWhatIsChosen()
    {
        VisitDisputed([&](uint64_t number, uint32_t one, uint32_t other) {
            const auto chosen = _found.Choose(one, other, _header.LastPlace(number, _file.Size()));
            if (chosen && !IsZeros(*chosen))
                _claims.Add(*chosen * kSector);
        });
    }

    const ByteSource &_file;
    const VmdkHeader &_header;
    const uint64_t _grainBytes;
    VmdkPlaces _found;
    PieceClaims _claims;
};

}  // namespace

VmdkPlaces VmdkPlaces::Examine(const ByteSource &file, const VmdkHeader &header)
{
    return header.isPacked ? VmdkPlaces() : Examination(file, header).Run();
}

std::optional<uint32_t> VmdkPlaces::Choose(uint32_t one, uint32_t other, uint64_t last) const
{
    const auto isPlausible = [&](uint32_t sector) {
        return !IsZeros(sector) && sector * kSector <= last &&
               !TouchesRange(implausible, {sector * kSector, kSector});
    };
    const bool isOne = isPlausible(one);
    if (isOne != isPlausible(other))
        return isOne ? one : other;
    const uint64_t at = std::max(one, other) * kSector;
    const bool isNeverWritten = !isOne && (IsZeros(one) || IsZeros(other)) && at <= last &&
                                !TouchesRange(onTables, {at, kSector});
    return isNeverWritten ? std::optional<uint32_t>(VmdkHeader::kReadsAsZeros) : std::nullopt;
}

}  // namespace vx
