#include "KeyList.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <string_view>

namespace vx::bitlocker {
namespace {

std::string_view TextOf(ByteView bytes)
{
    return {reinterpret_cast<const char *>(bytes.data), bytes.size};
}

}  // namespace

bool KeyList::Label::Names(const Guid &protector) const
{
    return std::find(identifiers.begin(), identifiers.end(), protector) != identifiers.end();
}

void KeyList::Label::AddIdentifiers(const std::vector<Guid> &more)
{
    for (const Guid &identifier : more)
        if (identifiers.size() < kMostIdentifiers && !Names(identifier))
            identifiers.push_back(identifier);
}

ByteView KeyList::Key(size_t index) const
{
    return _pieces[index / kPerPiece].View().From(index % kPerPiece * kKeyBytes).First(kKeyBytes);
}

uint8_t *KeyList::Place(size_t index)
{
    return _pieces[index / kPerPiece].Data() + index % kPerPiece * kKeyBytes;
}

void KeyList::Add(ProtectorKind kind, ByteView key, const std::vector<Guid> &identifiers)
{
    if (IsFull()) {
        ++_leftOut;
        const size_t index = IsWanted(identifiers) ? NextToReplace() : Size();
        if (index < Size())
            Put(index, kind, key, identifiers);
        return;
    }
    if (Size() == _pieces.size() * kPerPiece)
        _pieces.emplace_back(kPerPiece * kKeyBytes);
    _labels.emplace_back();
    Put(Size() - 1, kind, key, identifiers);
}

void KeyList::Put(size_t index, ProtectorKind kind, ByteView key,
                  const std::vector<Guid> &identifiers)
{
    Label label;
    label.kind = kind;
    label.AddIdentifiers(identifiers);
    _labels[index] = std::move(label);
    std::memset(Place(index), 0, kKeyBytes);
    std::memcpy(Place(index), key.data, std::min(key.size, kKeyBytes));
}

bool KeyList::IsWanted(const std::vector<Guid> &identifiers) const
{
    return std::any_of(identifiers.begin(), identifiers.end(), [&](const Guid &identifier) {
        return std::find(_wanted.begin(), _wanted.end(), identifier) != _wanted.end();
    });
}

size_t KeyList::NextToReplace()
{
    while (_replaceable > 0)
        if (!IsWanted(_labels[--_replaceable].identifiers))
            return _replaceable;
    return Size();
}

void KeyList::Clear()
{
    _labels.clear();
    _leftOut = 0;
    _replaceable = kMost;
}

size_t KeyList::CountOf(ProtectorKind kind) const
{
    return static_cast<size_t>(std::count_if(
        _labels.begin(), _labels.end(), [&](const Label &label) { return label.kind == kind; }));
}

bool KeyList::IsBefore(size_t one, size_t other) const
{
    if (_labels[one].kind != _labels[other].kind)
        return _labels[one].kind < _labels[other].kind;
    const int order = TextOf(Key(one)).compare(TextOf(Key(other)));
    return order != 0 ? order < 0 : one < other;
}

bool KeyList::IsEqual(size_t one, size_t other) const
{
    return _labels[one].kind == _labels[other].kind && TextOf(Key(one)) == TextOf(Key(other));
}

void KeyList::MergeEqual()
{
    std::vector<size_t> order(Size());
    std::iota(order.begin(), order.end(), size_t{0});
    std::sort(order.begin(), order.end(), [&](size_t a, size_t b) { return IsBefore(a, b); });
    std::vector<bool> isMerged(Size());
    for (size_t i = 0, first = 0; i < order.size(); ++i) {
        if (i == first || !IsEqual(order[first], order[i])) {
            first = i;
            continue;
        }
        _labels[order[first]].AddIdentifiers(_labels[order[i]].identifiers);
        isMerged[order[i]] = true;
    }
    size_t kept = 0;
    for (size_t i = 0; i < isMerged.size(); ++i) {
        if (isMerged[i])
            continue;
        if (kept != i) {
            _labels[kept] = std::move(_labels[i]);
            std::memcpy(Place(kept), Key(i).data, kKeyBytes);
        }
        ++kept;
    }
    _labels.resize(kept);
}

}  // namespace vx::bitlocker
