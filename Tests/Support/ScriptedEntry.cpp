#include "ScriptedEntry.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <utility>

namespace vx {

namespace {

constexpr uint32_t kAttributeArchive = 0x20;

// Eight bytes of content that depend on the file and on where they stand in it.
uint64_t contentWord(uint64_t seed, uint64_t index)
{
    uint64_t word = seed + index * 0x9e3779b97f4a7c15;
    word = (word ^ (word >> 32)) * 0xd6e8feb86659fd93;
    return word ^ (word >> 32);
}

}  // namespace

ScriptedEntry::ScriptedEntry(Arena &arena, std::u16string name, uint32_t attributes)
    : _arena(arena), _name(std::move(name)), _attributes(attributes)
{
}

ScriptedEntry &ScriptedEntry::Add(std::u16string name, uint32_t attributes)
{
    ScriptedEntry &entry = _arena.emplace_back(_arena, std::move(name), attributes);
    _children.push_back(&entry);
    _byName.emplace(entry._name, &entry);
    if (entry._name.find(u'/') != std::u16string::npos)
        _namedWithSlash.push_back(&entry);
    return entry;
}

ScriptedEntry &ScriptedEntry::Folder(std::u16string name)
{
    return Add(std::move(name), kVolumeAttributeDirectory);
}

ScriptedEntry &ScriptedEntry::File(std::u16string name, uint64_t size)
{
    ScriptedEntry &entry = Add(std::move(name), kAttributeArchive);
    entry._size = size;
    return entry;
}

ScriptedEntry &ScriptedEntry::File(std::u16string name, std::string contents)
{
    ScriptedEntry &entry = Add(std::move(name), kAttributeArchive);
    entry._contents = std::move(contents);
    return entry;
}

ScriptedEntry &ScriptedEntry::Attributes(uint32_t value)
{
    _attributes = value;
    return *this;
}

ScriptedEntry &ScriptedEntry::Modified(uint64_t fileTime)
{
    _modified = fileTime;
    return *this;
}

ScriptedEntry &ScriptedEntry::CatalogueSize(uint64_t bytes)
{
    _catalogueSize = bytes;
    return *this;
}

ScriptedEntry &ScriptedEntry::QueriedSize(uint64_t bytes)
{
    _queriedSize = bytes;
    return *this;
}

ScriptedEntry &ScriptedEntry::Unterminated()
{
    _unterminated = true;
    return *this;
}

ScriptedEntry &ScriptedEntry::Endless()
{
    _endless = true;
    _children.push_back(this);
    return *this;
}

std::u16string ScriptedEntry::RecordName() const
{
    const size_t room = std::size(VolumeFindData().name);
    std::u16string name = _name.substr(0, _unterminated ? room : room - 1);
    name.resize(_unterminated ? room : name.size() + 1, _unterminated ? u'x' : u'\0');
    return name;
}

void ScriptedEntry::Fill(VolumeFindData &record) const
{
    const uint64_t bytes = _catalogueSize.value_or(Size());
    record.attributes = _attributes;
    record.creationTime = _modified;
    record.lastAccessTime = _modified;
    record.lastWriteTime = _modified;
    record.sizeHigh = static_cast<uint32_t>(bytes >> 32);
    record.sizeLow = static_cast<uint32_t>(bytes);
    const std::u16string name = RecordName();
    std::copy(name.begin(), name.end(), record.name);
}

void ScriptedEntry::Read(uint64_t offset, void *buffer, size_t count) const
{
    auto *bytes = static_cast<unsigned char *>(buffer);
    if (_contents) {
        memcpy(bytes, _contents->data() + offset, count);
        return;
    }
    const uint64_t seed = std::hash<std::u16string>()(_name);
    while (count > 0) {
        const uint64_t word = contentWord(seed, offset / sizeof(word));
        const size_t skipped = offset % sizeof(word);
        const size_t taken = std::min(count, sizeof(word) - skipped);
        memcpy(bytes, reinterpret_cast<const unsigned char *>(&word) + skipped, taken);
        bytes += taken;
        offset += taken;
        count -= taken;
    }
}

std::string ScriptedEntry::Read(uint64_t offset, size_t count) const
{
    std::string bytes(count, '\0');
    Read(offset, &bytes[0], count);
    return bytes;
}

// The child whose name stands at start, after which a "/" or the end of the path follows.
ScriptedEntry *ScriptedEntry::ChildAt(const std::u16string &path, size_t start, size_t &end) const
{
    end = std::min(path.find(u'/', start), path.size());
    const auto known = _byName.find(path.substr(start, end - start));
    if (known != _byName.end())
        return known->second;
    for (ScriptedEntry *child : _namedWithSlash) {
        end = start + child->_name.size();
        const bool whole = end == path.size() || (end < path.size() && path[end] == u'/');
        if (whole && path.compare(start, child->_name.size(), child->_name) == 0)
            return child;
    }
    return nullptr;
}

ScriptedEntry *ScriptedEntry::Find(const std::u16string &path)
{
    ScriptedEntry *entry = this;
    size_t at = 0;
    while (entry != nullptr && at < path.size() && !entry->_endless) {
        if (path[at] != u'/')
            return nullptr;
        entry = entry->ChildAt(path, at + 1, at);
    }
    return entry;
}

}  // namespace vx
