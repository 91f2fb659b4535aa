#include "Oracle.h"

#include "MarkedBytes.h"
#include "Messages.h"

#include <algorithm>
#include <sys/stat.h>

namespace vx {
namespace {

constexpr int kTimedOut = -9;  // killed after the deadline
constexpr int kSanitizer = 77;
constexpr int kNoFaults = 99;

std::string Lower(std::string text)
{
    for (char &c : text) {
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    }
    return text;
}

std::string NameOf(const std::string &path)
{
    return path.substr(path.rfind('/') + 1);
}

// "/Names/Case.bin", 1 -> "/Names/Case~1.bin"
std::string Numbered(const std::string &path, size_t number)
{
    const size_t dot = path.rfind('.');
    const size_t end = dot == std::string::npos || dot < path.rfind('/') ? path.size() : dot;
    return path.substr(0, end) + "~" + std::to_string(number) + path.substr(end);
}

bool IsFile(const SnapshotEntry *entry)
{
    return entry != nullptr && S_ISREG(entry->kind);
}

// Neither looked into nor written to when it is in the way.
bool IsSpecial(const SnapshotEntry &entry)
{
    return S_ISFIFO(entry.kind) || S_ISSOCK(entry.kind) || S_ISCHR(entry.kind) ||
           S_ISBLK(entry.kind);
}

const SnapshotEntry *In(const std::map<std::string, SnapshotEntry> &entries, const std::string &key)
{
    const auto found = entries.find(key);
    return found == entries.end() ? nullptr : &found->second;
}

}  // namespace

std::vector<std::string> Oracle::Judge()
{
    _before = Keyed(_evidence.before);
    _after = Keyed(_evidence.after);
    for (const RescueFile &file : _evidence.volume->tree)
        ++_landings[Key(file.LocalPath())];
    JudgeStatus();
    JudgeBystanders();
    for (const RescueFile &file : _evidence.volume->tree)
        JudgeFile(file);
    JudgeOthers();
    JudgeUnnamed();
    JudgeStop();
    return _violations;
}

std::string Oracle::Key(const std::string &path) const
{
    return _evidence.ignoresCase ? Lower(path) : path;
}

std::map<std::string, SnapshotEntry> Oracle::Keyed(const FolderSnapshot &snapshot) const
{
    std::map<std::string, SnapshotEntry> keyed;
    for (const auto &[path, entry] : snapshot.Entries())
        keyed.emplace(Key(path), entry);
    return keyed;
}

void Oracle::JudgeStatus()
{
    const int status = _evidence.status;
    if (status == kTimedOut)
        Say("it hangs");
    else if (status < 0 || status >= 128)
        Say("a signal ended it, status " + std::to_string(status));
    else if (status == kSanitizer || _evidence.messages.find("runtime error:") != std::string::npos)
        Say("a sanitizer ended it:\n" + _evidence.messages.substr(0, 4000));
    else if (status == kNoFaults)
        Say("the faults could not be set up: " + _evidence.messages);
    else if (_evidence.readsAll && status != 0)
        Say("status " + std::to_string(status) + " although nothing is missing");
}

void Oracle::JudgeBystanders()
{
    const auto &before = _evidence.bystandersBefore.Entries();
    for (const auto &[path, entry] : before) {
        const SnapshotEntry *now = _evidence.bystandersAfter.At(path);
        if (now == nullptr)
            Say("destroyed: " + path + ", which lies outside the destination");
        else if (!(*now == entry))
            Say("changed: " + path + ", which lies outside the destination; it had " +
                std::to_string(entry.bytes.size()) + " bytes and has " +
                std::to_string(now->bytes.size()));
    }
    for (const auto &[path, entry] : _evidence.bystandersAfter.Entries()) {
        if (before.count(path) == 0)
            Say("made: " + path + ", outside the destination");
    }
}

bool Oracle::MayFallShort() const
{
    return _evidence.mayLoseAny || _evidence.isGone || _evidence.destinationFails;
}

void Oracle::JudgeFile(const RescueFile &file)
{
    const Arrival arrival = ArrivalOf(file);
    if (arrival == Arrival::kWhole)
        return;
    if (arrival != Arrival::kAbsent)
        ++_partialFiles;
    JudgeReplacement(file, arrival);
    JudgeShortfall(file, arrival);
}

Oracle::Arrival Oracle::ArrivalOf(const RescueFile &file)
{
    const std::string &expected = _evidence.volume->contents[file.number - 1];
    const SnapshotEntry *now = In(_after, Key(file.LocalPath()));
    const SnapshotEntry *before = In(_before, Key(file.LocalPath()));
    if (IsFile(now) && now->bytes == expected)
        return Arrival::kWhole;
    if (now == nullptr || (before != nullptr && *now == *before))
        return ArrivalElsewhere(file);
    if (!IsFile(now)) {
        if (before != nullptr || !S_ISDIR(now->kind))
            Say(file.path + " became something that is no file");
        return Arrival::kAbsent;
    }
    if (_evidence.speaks && DiffersOnlyInCase(file))
        return ArrivalUnderNumber(file);
    // Another file of the volume has the same place.
    if (_landings.at(Key(file.LocalPath())) > 1) {
        for (const RescueFile &other : _evidence.volume->tree) {
            if (Key(other.LocalPath()) == Key(file.LocalPath()) &&
                now->bytes == _evidence.volume->contents[other.number - 1])
                return Arrival::kAbsent;
        }
    }
    return JudgeBytes(file, now->bytes);
}

// From the name of another file of the volume, and the destination takes the two for one.
bool Oracle::DiffersOnlyInCase(const RescueFile &file) const
{
    const std::string local = file.LocalPath();
    const RescueTree &tree = _evidence.volume->tree;
    return std::any_of(tree.begin(), tree.end(), [&](const RescueFile &other) {
        return other.LocalPath() != local && Key(other.LocalPath()) == Key(local);
    });
}

// The place of the file holds another one, or this one in part.
Oracle::Arrival Oracle::ArrivalUnderNumber(const RescueFile &file)
{
    const std::string &expected = _evidence.volume->contents[file.number - 1];
    for (size_t number = 1; number <= _after.size(); ++number) {
        const std::string path = Numbered(file.LocalPath(), number);
        const SnapshotEntry *copy = In(_after, Key(path));
        const bool isNew = _landings.count(Key(path)) == 0 && _before.count(Key(path)) == 0;
        if (!isNew || !IsFile(copy) || copy->bytes.size() != expected.size() ||
            FirstWrong(file, copy->bytes) < expected.size() ||
            !_copiesBeside.insert(Key(path)).second)
            continue;
        if (!Messages(_evidence.messages).ListRenamed(file.path, path.substr(1)))
            Say(file.path + " arrived as " + path + ", and no message lists it");
        return copy->bytes == expected ? Arrival::kWhole : Arrival::kZeroWhereLost;
    }
    if (!_evidence.mayLoseAny && !_evidence.isGone)
        Say(file.path + " lost its place to a name of other case, and got no number");
    return Arrival::kAbsent;
}

// Under a name that the messages give: one that is not whole, or whose name the destination cannot
// have.
Oracle::Arrival Oracle::ArrivalElsewhere(const RescueFile &file)
{
    const std::string &expected = _evidence.volume->contents[file.number - 1];
    for (const auto &[path, entry] : _after) {
        if (file.size == 0 || !IsCopyBeside(file, path))
            continue;
        _copiesBeside.insert(path);
        if (entry.bytes == expected)
            return Arrival::kWhole;
        return entry.bytes.size() == expected.size() ? Arrival::kZeroWhereLost : Arrival::kPartial;
    }
    return Arrival::kAbsent;
}

bool Oracle::IsCopyBeside(const RescueFile &file, const std::string &path) const
{
    const SnapshotEntry &entry = _after.at(path);
    const std::string stem = Lower(NameOf(file.path).substr(0, 4));
    const std::string name = Lower(NameOf(path));
    const size_t size = _evidence.volume->contents[file.number - 1].size();
    const bool hasSize =
        entry.bytes.size() == size || (MayFallShort() && entry.bytes.size() < size);
    return _landings.count(path) == 0 && _before.count(path) == 0 &&
           _copiesBeside.count(path) == 0 && IsFile(&entry) &&
           name.compare(0, stem.size(), stem) == 0 && hasSize &&
           Messages(Lower(_evidence.messages)).Hold(name) &&
           FirstWrong(file, entry.bytes) == entry.bytes.size();
}

bool Oracle::MayBeZero(const RescueFile &file, uint64_t at) const
{
    if (_evidence.mayLoseAny || _evidence.isGone)
        return true;
    const auto lost = _evidence.lost.find(file.number);
    return lost != _evidence.lost.end() && lost->second.Holds(at);
}

size_t Oracle::FirstWrong(const RescueFile &file, const std::string &got) const
{
    const std::string &expected = _evidence.volume->contents[file.number - 1];
    for (size_t at = 0; at < got.size(); ++at) {
        if (got[at] == expected[at] || (got[at] == '\0' && MayBeZero(file, at)))
            continue;
        const size_t block = at / kMarkBytes * kMarkBytes;
        const auto mark = MarkIn(std::string_view(got).substr(block));
        if (!_evidence.writesAreLost || !mark || mark->file != file.number)
            return at;
        at = block + kMarkBytes - 1;
    }
    return got.size();
}

Oracle::Arrival Oracle::JudgeBytes(const RescueFile &file, const std::string &got)
{
    const std::string &expected = _evidence.volume->contents[file.number - 1];
    if (got.size() > expected.size()) {
        Say(file.path + " has " + std::to_string(got.size()) + " bytes instead of " +
            std::to_string(expected.size()));
        return Arrival::kPartial;
    }
    const size_t wrong = FirstWrong(file, got);
    if (wrong < got.size()) {
        Say(file.path + ": byte " + std::to_string(wrong) + " " + OriginOf(got, wrong));
        return Arrival::kPartial;
    }
    if (got.size() == expected.size())
        return Arrival::kZeroWhereLost;
    if (!MayFallShort())
        Say(file.path + " ends at byte " + std::to_string(got.size()) +
            " although the rest could be read");
    return Arrival::kPartial;
}

std::string Oracle::OriginOf(const std::string &got, size_t at) const
{
    if (got[at] == '\0')
        return "is zero although the disk could be read there";
    const auto mark =
        MarkIn(std::string_view(got).substr(at / kMarkBytes * kMarkBytes, kMarkBytes));
    if (!mark)
        return "comes from nowhere";
    if (mark->file == 0 || mark->file > _evidence.volume->tree.size())
        return "comes from what was there before";
    return "comes from byte " + std::to_string(mark->offset) + " of " +
           _evidence.volume->tree[mark->file - 1].path;
}

void Oracle::JudgeShortfall(const RescueFile &file, Arrival arrival)
{
    const bool isShared = _landings.at(Key(file.LocalPath())) > 1;
    if (arrival == Arrival::kAbsent && !MayFallShort() && !isShared &&
        file.LocalPath().size() < 250)
        Say(file.path + " is missing although it could be read and written");
    if (!_evidence.speaks)
        return;
    if (_evidence.status == 0)
        Say(file.path + " did not arrive whole, and the status is 0");
    if (Messages(_evidence.messages).Name(file.path))
        return;
    if (arrival != Arrival::kAbsent) {
        Say(file.path + " did not arrive whole, and no message names it");
        return;
    }
    ++_unnamedFiles;
    if (_firstUnnamed.empty())
        _firstUnnamed = file.path;
}

void Oracle::JudgeReplacement(const RescueFile &file, Arrival arrival)
{
    const SnapshotEntry *before = In(_before, Key(file.LocalPath()));
    const SnapshotEntry *now = In(_after, Key(file.LocalPath()));
    if (before == nullptr || (now != nullptr && *now == *before))
        return;
    if (now == nullptr)
        Say("destroyed: what was at the place of " + file.path);
    else if (_evidence.speaks && S_ISREG(before->kind) && arrival == Arrival::kPartial &&
             ++_partialReplacements > 1)
        Say("more than one existing file was replaced by a part: " + file.path);
}

bool Oracle::ArrivedNothing() const
{
    return std::none_of(_after.begin(), _after.end(), [this](const auto &one) {
        const SnapshotEntry *before = In(_before, one.first);
        return !S_ISDIR(one.second.kind) && (before == nullptr || !(*before == one.second));
    });
}

// What is at no file's place: folders on the way may come, and nothing may go or change.
void Oracle::JudgeOthers()
{
    for (const auto &[path, entry] : _before) {
        const SnapshotEntry *now = In(_after, path);
        const bool isLanding = _landings.count(path) != 0;
        if (isLanding && IsSpecial(entry) && (now == nullptr || !(*now == entry)))
            Say("replaced: " + path + ", which was no file");
        else if (!isLanding && (now == nullptr || !(*now == entry)))
            Say((now == nullptr ? "destroyed: " : "changed: ") + path + " in the destination");
    }
    for (const auto &[path, entry] : _after) {
        if (_before.count(path) == 0 && _landings.count(path) == 0 && !S_ISDIR(entry.kind) &&
            _copiesBeside.count(path) == 0)
            Say("invented: " + path);
    }
}

// A program that stopped gives the count of what it did not come to; one that did not begin says
// why.
void Oracle::JudgeUnnamed()
{
    if (_unnamedFiles == 0)
        return;
    const Messages messages(_evidence.messages);
    const bool didNotBegin =
        (_evidence.status == 2 || _evidence.status == 3) && !messages.IsEmpty() && ArrivedNothing();
    if (!didNotBegin && messages.NotCopied() < _unnamedFiles)
        Say(std::to_string(_unnamedFiles) + " files did not arrive, and no message names them; " +
            "the first is " + _firstUnnamed);
}

void Oracle::JudgeStop()
{
    if (!_evidence.speaks || !_evidence.stops)
        return;
    if (_partialFiles > 1)
        Say("it went on: " + std::to_string(_partialFiles) + " files are not whole");
    if (_evidence.isGone && !Messages(_evidence.messages).Hold("gone"))
        Say("no message says that the disk is gone");
}

}  // namespace vx
