#include "StandIns.h"

#include "Eventually.h"

namespace vxtest {

std::vector<vx::AttachedVolume> StandInDisks::List()
{
    ++_listed;
    Eventually([this] { return !_holds; });
    const vx::MutexLock lock(_mutex);
    return _attached;
}

void StandInDisks::Watch(std::function<void()> changed)
{
    _changed = std::move(changed);
}

void StandInDisks::Set(const std::vector<vx::AttachedVolume> &attached)
{
    {
        const vx::MutexLock lock(_mutex);
        _attached = attached;
    }
    if (_changed)
        _changed();
}

vx::DiskFacts StandInFacts::Read(const std::string &volume, const std::atomic<bool> &)
{
    _isHolding = _holds.load();
    Eventually([this] { return !_holds; });
    const vx::MutexLock lock(_mutex);
    return _facts[volume];
}

void StandInFacts::Set(const std::string &volume, const vx::DiskFacts &facts)
{
    const vx::MutexLock lock(_mutex);
    _facts[volume] = facts;
}

void StandInSessions::Start(const std::string &opened, const std::string &unlockedBy,
                            vx::TypedSecret *typed, vx::SessionListener *told)
{
    ++started;
    volume = opened;
    kind = unlockedBy;
    secret = typed->Text();
    listener = told;
}

std::string StandInRights::Command(const std::string &path)
{
    return "sudo setfacl -m u:anna:r " + path;
}

vx::RightAnswer StandInRights::Ask(const std::string &, const std::atomic<bool> &)
{
    return answer ? answer() : vx::RightAnswer{};
}

vx::VolumeFacts EncryptedVolume(const std::string &address,
                                const std::vector<std::string> &protectors)
{
    const std::map<std::string, std::vector<std::string>> kinds = {
        {"password", {"password"}},
        {"recovery-password", {"recovery", "recovery-file", "key-ring"}},
        {"external-key", {"startup-key", "key-ring"}},
        {"tpm", {}}};
    vx::VolumeFacts volume;
    volume.address = address;
    volume.bytes = uint64_t{64} << 30;
    volume.kind = "encrypted";
    volume.kindText = "an encrypted volume";
    volume.method = "AES-128-XTS";
    volume.state = "encrypted";
    volume.description = "LAPTOP C: 1/2/2026";
    for (const std::string &kind : protectors)
        volume.protectors.push_back(
            {kind, kind, "1A2B3C4D-0000-1111-2222-333344445555", kinds.at(kind)});
    return volume;
}

vx::VolumeFacts PlainVolume(const std::string &address, const std::string &label)
{
    vx::VolumeFacts volume;
    volume.address = address;
    volume.bytes = uint64_t{100} << 20;
    volume.kind = "fat";
    volume.kindText = "a FAT file system";
    volume.label = label;
    return volume;
}

}  // namespace vxtest
