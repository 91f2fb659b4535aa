#include "DestinationScene.h"

#include "Command.h"
#include "MarkedBytes.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <map>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>

namespace vx {
namespace {

constexpr unsigned kOldFile = 0xF00;  // in marks; no volume has so many files
constexpr uint64_t kMebibyte = 1 << 20;

void Require(bool done, const std::string &what)
{
    if (!done)
        throw std::system_error(errno, std::generic_category(), what);
}

bool RunQuietly(const std::string &line)
{
    return std::system(
               ("PATH=\"$PATH:/usr/sbin:/sbin\"; { " + line + "; } >/dev/null 2>&1").c_str()) == 0;
}

// The socket file stays when its descriptor is closed.
void MakeSocket(const std::string &path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    Require(path.size() < sizeof address.sun_path, path);
    std::memcpy(address.sun_path, path.data(), path.size());
    const int made = socket(AF_UNIX, SOCK_STREAM, 0);
    Require(bind(made, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0, path);
    close(made);
}

const std::map<DestinationCondition, std::string> kNames = {
    {DestinationCondition::kEmpty, "EmptyFolder"},
    {DestinationCondition::kOldFiles, "OldFiles"},
    {DestinationCondition::kLinksOut, "LinksToFilesElsewhere"},
    {DestinationCondition::kHardLinks, "HardLinksOfFilesElsewhere"},
    {DestinationCondition::kDanglingLinks, "LinksToNothing"},
    {DestinationCondition::kFifo, "FifoInTheWay"},
    {DestinationCondition::kSocket, "SocketInTheWay"},
    {DestinationCondition::kFolderInTheWay, "FolderInTheWay"},
    {DestinationCondition::kFileForAFolder, "FileWhereAFolderGoes"},
    {DestinationCondition::kFull, "FullDisk"},
    {DestinationCondition::kFullLater, "DiskThatFillsUp"},
    {DestinationCondition::kFullOverOldFiles, "DiskThatFillsUpOverOldFiles"},
    {DestinationCondition::kQuota, "Quota"},
    {DestinationCondition::kWriteErrors, "WriteErrors"},
    {DestinationCondition::kOneWriteError, "OneWriteError"},
    {DestinationCondition::kReadOnly, "ReadOnlyDisk"},
    {DestinationCondition::kShortNames, "ShortNames"},
    {DestinationCondition::kIgnoresCase, "DiskThatIgnoresCase"},
    {DestinationCondition::kSmallDisk, "SmallDisk"},
    {DestinationCondition::kSizeLimit, "SizeLimit"},
    {DestinationCondition::kDiskHardLinked, "HardLinkOfTheSource"},
    {DestinationCondition::kDiskLinked, "LinkToTheSource"},
    {DestinationCondition::kVolumeItself, "VolumeItself"},
};

}  // namespace

const std::vector<DestinationCondition> &AllConditions()
{
    static const std::vector<DestinationCondition> all = [] {
        std::vector<DestinationCondition> conditions;
        conditions.reserve(kNames.size());
        for (const auto &[condition, name] : kNames)
            conditions.push_back(condition);
        return conditions;
    }();
    return all;
}

std::string NameOf(DestinationCondition condition)
{
    return kNames.at(condition);
}

DestinationScene::DestinationScene(DestinationCondition condition, const RescueVolume &volume)
    : _condition(condition), _volume(volume), _destination(_folder.MakeFolder("destination"))
{
    _folder.WriteFile("outside/bystander", MarkedBytes(kOldFile, 3000));
}

DestinationScene::~DestinationScene()
{
    if (_isMounted && _condition == DestinationCondition::kSmallDisk)
        umount(_destination.c_str());
    else if (_isMounted)
        RunQuietly("fusermount3 -u " + Quoted(_destination) + " || fusermount -u " +
                   Quoted(_destination));
}

bool DestinationScene::Fails() const
{
    switch (_condition) {
    case DestinationCondition::kEmpty:
    case DestinationCondition::kOldFiles:
    case DestinationCondition::kLinksOut:
    case DestinationCondition::kHardLinks:
    case DestinationCondition::kDanglingLinks:
        return false;
    default:
        return true;
    }
}

bool DestinationScene::IsFull() const
{
    return _condition == DestinationCondition::kFull ||
           _condition == DestinationCondition::kFullLater ||
           _condition == DestinationCondition::kFullOverOldFiles ||
           _condition == DestinationCondition::kSmallDisk;
}

unsigned long long DestinationScene::SizeLimit() const
{
    return _condition == DestinationCondition::kSizeLimit ? 3 * kMebibyte : 0;
}

std::vector<std::string> DestinationScene::Targets() const
{
    std::vector<std::string> targets;
    for (const char *path : {kMiddling, kLarge, kVictim, kChunk, "/plain.bin", "/Names/last.bin"}) {
        if (_volume.File(path) != nullptr)
            targets.emplace_back(path);
    }
    return targets;
}

bool DestinationScene::Prepare(FaultPlan *plan)
{
    if (_condition == DestinationCondition::kDiskHardLinked ||
        _condition == DestinationCondition::kDiskLinked) {
        CopyVolume();
        LinkDisk(_condition == DestinationCondition::kDiskHardLinked);
    } else if (_condition == DestinationCondition::kVolumeItself) {
        CopyVolume();
        _destination = _volume.path;
    } else if (_condition == DestinationCondition::kSmallDisk ||
               _condition == DestinationCondition::kIgnoresCase) {
        _isMounted = Mount();
        if (!_isMounted)
            return false;
    }
    MakeInTheWay();
    MakeLinks();
    plan->Destination(_destination);
    AddFaults(plan);
    return true;
}

// Longer and shorter than what comes in their place, and strangers between them.
void DestinationScene::MakeOldFiles()
{
    unsigned number = kOldFile + 1;
    for (const RescueFile &file : _volume.tree) {
        if (file.number % 2 == 0 && file.path.find('\\') == std::string::npos &&
            file.path.size() < 100)
            _folder.WriteFile(Landing(file.path), MarkedBytes(number, 1000 + number % 7 * 300));
        ++number;
    }
    for (const char *stranger : {"/stranger.txt", "/Deep/stranger.txt", "/Many/stranger.txt"})
        _folder.WriteFile(Landing(stranger), MarkedBytes(number, 777));
}

void DestinationScene::MakeInTheWay()
{
    switch (_condition) {
    case DestinationCondition::kOldFiles:
    case DestinationCondition::kFullOverOldFiles:
    case DestinationCondition::kReadOnly:
    case DestinationCondition::kSizeLimit:
        MakeOldFiles();
        break;
    case DestinationCondition::kFull:
        for (const std::string &path : Targets())
            _folder.WriteFile(Landing(path), MarkedBytes(kOldFile, 2000));
        break;
    case DestinationCondition::kFifo:
        Require(mkfifo(_folder.At(Landing(Targets()[0])).c_str(), 0600) == 0, "mkfifo");
        break;
    case DestinationCondition::kSocket:
        MakeSocket(_folder.At(Landing(Targets()[0])));
        break;
    case DestinationCondition::kFolderInTheWay:
        _folder.WriteFile(Landing(Targets()[0]) + "/stranger.txt", MarkedBytes(kOldFile, 500));
        break;
    case DestinationCondition::kFileForAFolder:
        _folder.WriteFile(Landing("/Deep"), MarkedBytes(kOldFile, 500));
        _folder.WriteFile(Landing("/Names"), MarkedBytes(kOldFile, 600));
        break;
    case DestinationCondition::kIgnoresCase:
        for (const char *path : {"/PLAIN.BIN", "/names/LAST.BIN", "/LARGE.bin", "/stranger.txt"})
            _folder.WriteFile(Landing(path), MarkedBytes(kOldFile, 4000));
        break;
    default:
        break;
    }
}

void DestinationScene::MakeLinks()
{
    for (const std::string &path : Targets()) {
        const std::string name = "outside/old" + std::to_string(_volume.File(path)->number);
        const std::string place = Landing(path);
        if (_condition == DestinationCondition::kLinksOut) {
            _folder.MakeLink(place, _folder.WriteFile(name, MarkedBytes(kOldFile, 5000)));
        } else if (_condition == DestinationCondition::kDanglingLinks) {
            _folder.MakeLink(place, _folder.At(name));
        } else if (_condition == DestinationCondition::kHardLinks) {
            const std::string old = _folder.WriteFile(name, MarkedBytes(kOldFile, 5000));
            _folder.MakeFolder(place.substr(0, place.rfind('/')));
            Require(link(old.c_str(), _folder.At(place).c_str()) == 0, place);
        }
    }
}

void DestinationScene::AddFaults(FaultPlan *plan) const
{
    const bool isSmall = _volume.File(kLarge) == nullptr;
    const uint64_t room = isSmall ? 6000 : 6 * kMebibyte + 1000;
    switch (_condition) {
    case DestinationCondition::kFull:
        plan->Room(0, ENOSPC);
        break;
    case DestinationCondition::kFullLater:
    case DestinationCondition::kFullOverOldFiles:
        plan->Room(room, ENOSPC);
        break;
    case DestinationCondition::kQuota:
        plan->Room(room / 2, EDQUOT);
        break;
    case DestinationCondition::kWriteErrors:
        plan->Room(room, EIO);
        break;
    case DestinationCondition::kOneWriteError:
        plan->Hiccup(4, EIO);
        break;
    case DestinationCondition::kReadOnly:
        plan->Refuse(EROFS);
        break;
    case DestinationCondition::kShortNames:
        plan->Names(10);
        break;
    default:
        break;
    }
}

bool DestinationScene::Mount()
{
    if (_condition == DestinationCondition::kSmallDisk)
        return mount("none", _destination.c_str(), "tmpfs", 0, "size=6m") == 0;
    return MountIgnoringCase();
}

bool DestinationScene::MountIgnoringCase() const
{
    const std::string image = Quoted(_folder.MakeSparseFile("disk", 48 * kMebibyte));
    return RunQuietly("mkntfs -F -q " + image + " && lowntfs-3g -o ignore_case " + image + " " +
                      Quoted(_destination));
}

// Beside the bystanders, so that a change is seen.
void DestinationScene::CopyVolume()
{
    const std::string source =
        _volume.isFolder ? _volume.path : _volume.path.substr(0, _volume.path.rfind('/'));
    const std::string copy = _condition == DestinationCondition::kVolumeItself
                                 ? _folder.At("volume")
                                 : _folder.At("outside/disk");
    Require(RunQuietly("cp -R --sparse=always " + Quoted(source) + " " + Quoted(copy)), copy);
    const auto move = [&](std::string *path) { *path = copy + path->substr(source.size()); };
    move(&_volume.path);
    for (std::string &part : _volume.parts)
        move(&part);
}

// Of a folder each file that is in danger is a part of the disk.
void DestinationScene::LinkDisk(bool hard)
{
    for (const std::string &path : Targets()) {
        const std::string part =
            _volume.isFolder ? _volume.parts[_volume.File(path)->number - 1] : _volume.parts[0];
        const std::string place = Landing(path);
        _folder.MakeFolder(place.substr(0, place.rfind('/')));
        const std::string at = _folder.At(place);
        Require((hard ? link(part.c_str(), at.c_str()) : symlink(part.c_str(), at.c_str())) == 0,
                place);
    }
}

// A disk that is not copied is too large to be kept, so only its times are.
FolderSnapshot DestinationScene::Bystanders() const
{
    FolderSnapshot all(_folder.At("outside"));
    for (const std::string &part : _volume.parts) {
        struct stat found = {};
        if (_condition == DestinationCondition::kVolumeItself)
            continue;
        if (stat(part.c_str(), &found) == 0)
            all.Entries()[part] = {found.st_mode, found.st_ino,
                                   std::to_string(found.st_size) + " bytes, " +
                                       std::to_string(found.st_mtim.tv_sec) + "." +
                                       std::to_string(found.st_mtim.tv_nsec)};
    }
    return all;
}

}  // namespace vx
