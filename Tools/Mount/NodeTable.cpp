#include "NodeTable.h"

#include "SipHash.h"

#include <algorithm>
#include <random>
#include <utility>
#include <vector>

namespace vx {
namespace {

std::array<uint64_t, 2> RandomKey()
{
    std::random_device device;
    std::uniform_int_distribution<uint64_t> numbers;
    return {numbers(device), numbers(device)};
}

}  // namespace

// The root is held as long as the tree is mounted.
NodeTable::NodeTable() : _key(RandomKey())
{
    Node root;
    root.entry.kind = ShownEntry::Kind::kFolder;
    root.holds = 1;
    const MutexLock lock(_mutex);
    _nodes.emplace(kRoot, std::move(root));
}

NodeTable::Number NodeTable::Enter(Number folder, std::u16string_view name, const ShownEntry &entry)
{
    const MutexLock lock(_mutex);
    const auto parent = _nodes.find(folder);
    if (parent == _nodes.end())
        return 0;
    const Number number = FreeOrSame(folder, name);
    const auto [node, isNew] = _nodes.try_emplace(number);
    if (isNew) {
        node->second.folder = folder;
        node->second.name = name;
        node->second.entry = entry;
        ++_nodes.at(folder).children;
    }
    ++node->second.holds;
    return number;
}

NodeTable::Number NodeTable::NumberOf(Number folder, std::u16string_view name) const
{
    const MutexLock lock(_mutex);
    return FreeOrSame(folder, name);
}

NodeTable::Number NodeTable::FreeOrSame(Number folder, std::u16string_view name) const
{
    std::string bytes(reinterpret_cast<const char *>(&folder), sizeof(folder));
    bytes.append(reinterpret_cast<const char *>(name.data()), name.size() * sizeof(name[0]));
    for (Number number = SipHash(_key, bytes);; ++number) {
        if (number <= kRoot)
            continue;
        const auto taken = _nodes.find(number);
        if (taken == _nodes.end() || (taken->second.folder == folder && taken->second.name == name))
            return number;
    }
}

void NodeTable::Forget(Number number, uint64_t count)
{
    const MutexLock lock(_mutex);
    const auto node = _nodes.find(number);
    if (node == _nodes.end() || number == kRoot)
        return;
    node->second.holds -= std::min(node->second.holds, count);
    DropUnheld(number);
}

// With the folders above it that nothing holds either.
void NodeTable::DropUnheld(Number number)
{
    while (number != kRoot) {
        const auto node = _nodes.find(number);
        if (node->second.holds > 0 || node->second.children > 0)
            return;
        number = node->second.folder;
        _nodes.erase(node);
        --_nodes.at(number).children;
    }
}

std::optional<ShownEntry> NodeTable::EntryOf(Number number) const
{
    const MutexLock lock(_mutex);
    const auto node = _nodes.find(number);
    return node == _nodes.end() ? std::nullopt : std::optional(node->second.entry);
}

std::optional<std::u16string> NodeTable::PathOf(Number number) const
{
    const MutexLock lock(_mutex);
    std::vector<const std::u16string *> names;
    for (; number != kRoot; number = _nodes.at(number).folder) {
        const auto node = _nodes.find(number);
        if (node == _nodes.end())
            return std::nullopt;
        names.push_back(&node->second.name);
    }
    std::u16string path;
    for (auto name = names.rbegin(); name != names.rend(); ++name)
        path.append(u"/").append(**name);
    return path;
}

NodeTable::Number NodeTable::FolderOf(Number number) const
{
    const MutexLock lock(_mutex);
    const auto node = _nodes.find(number);
    return node == _nodes.end() ? kRoot : node->second.folder;
}

bool NodeTable::NoteOpened(Number number, int64_t size)
{
    const MutexLock lock(_mutex);
    const auto node = _nodes.find(number);
    if (node == _nodes.end())
        return false;
    node->second.entry.size = size;
    return !std::exchange(node->second.wasOpened, true);
}

size_t NodeTable::Size() const
{
    const MutexLock lock(_mutex);
    return _nodes.size();
}

}  // namespace vx
