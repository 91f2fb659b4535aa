#include "SampleKeys.h"

#include "KeyTexts.h"
#include "Unlocker.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace vx {
namespace {

using bitlocker::SampleImages;

std::string TextOf(ByteView bytes)
{
    return {reinterpret_cast<const char *>(bytes.data), bytes.size};
}

std::string Hex(ByteView bytes)
{
    std::string text;
    for (size_t i = 0; i < bytes.size; ++i) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", bytes.data[i]);
        text += digits;
    }
    return text;
}

// A method, and the key with zeros up to 64 bytes.
std::string KeyFileOf66Bytes(const bitlocker::UnlockedKey &key)
{
    const auto method = static_cast<unsigned>(key.method);
    std::string file = {static_cast<char>(method & 0xff), static_cast<char>(method >> 8)};
    file += TextOf(key.sectorKey.View());
    file.resize(66);
    return file;
}

bitlocker::MetadataCopies CopiesOf(const ByteSource &source)
{
    uint8_t sector[bitlocker::BootSector::kSize];
    if (source.ReadAt(0, sector, sizeof sector))
        throw std::runtime_error("the first sector cannot be read");
    const auto boot = bitlocker::BootSector::Parse({sector, sizeof sector});
    auto copies = bitlocker::MetadataLocator(source, *boot, nullptr).Locate();
    if (!copies)
        throw std::runtime_error(copies.Failure().detail);
    return std::move(*copies);
}

std::vector<std::string> RecoveryKeyIds(const std::string &name)
{
    std::vector<std::string> identifiers;
    const auto copies = CopiesOf(*SampleImages::Shared().Source(name));
    for (const bitlocker::Protector &protector : copies.usable.front().protectors)
        if (protector.kind == bitlocker::ProtectorKind::kRecoveryPassword)
            identifiers.push_back(protector.identifier.Capitals());
    return identifiers;
}

}  // namespace

std::vector<SampleKeys::Way> SampleKeys::WaysToOpen(const std::string &name) const
{
    const SampleImages &samples = SampleImages::Shared();
    const auto &image = samples.Image(name);
    std::vector<Way> ways;
    for (const std::string &password : image.passwords)
        ways.emplace_back("password", password);
    for (const std::string &recovery : image.recoveryPasswords)
        ways.emplace_back("recovery", recovery);
    if (!image.keyFile.empty())
        ways.emplace_back("startup-key", samples.Folder() + "/" + image.keyFile);
    if (ways.empty())
        ways.emplace_back("none", "");
    AddFilesOfKeys(name, &ways);
    AddRawKeys(name, &ways);
    return ways;
}

std::vector<SampleKeys::Way> SampleKeys::FewerWaysToOpen(const std::string &name) const
{
    std::vector<Way> ways = WaysToOpen(name);
    const auto isFileOfRawKey = [&](const Way &way) {
        return way.second.rfind(_folder.At(name + "-vmk"), 0) == 0 ||
               way.second.rfind(_folder.At(name + "-fvek"), 0) == 0;
    };
    ways.erase(std::remove_if(ways.begin(), ways.end(), isFileOfRawKey), ways.end());
    return ways;
}

// Another language and encoding for each image.
void SampleKeys::AddFilesOfKeys(const std::string &name, std::vector<Way> *ways) const
{
    using bitlocker::kAllEncodings;
    const auto &image = SampleImages::Shared().Image(name);
    const std::vector<std::string> identifiers = RecoveryKeyIds(name);
    for (size_t i = 0; i < image.recoveryPasswords.size(); ++i) {
        const std::string &identifier = identifiers.at(i % identifiers.size());
        const auto saved = bitlocker::SavedKeys(identifier, image.recoveryPasswords[i]);
        const size_t variant = name.size() + i;
        const std::string text = bitlocker::Encoded(
            saved[variant % saved.size()], kAllEncodings[variant / 2 % std::size(kAllEncodings)]);
        ways->emplace_back("recovery-file", _folder.WriteFile("Key " + identifier + ".TXT", text));
    }
    if (!image.recoveryPasswords.empty() || !image.keyFile.empty())
        ways->emplace_back("key-ring", MakeRing(name));
}

// With the keys of all images; those of the volume are named in its list.
std::string SampleKeys::MakeRing(const std::string &name) const
{
    const SampleImages &samples = SampleImages::Shared();
    const std::string ring = name + "-ring";
    std::string list = "volume;identifiers;password\r\n";
    for (const auto &[other, image] : samples.Images()) {
        for (const std::string &recovery : image.recoveryPasswords) {
            list += other + ";";
            if (other == name)
                for (const std::string &identifier : RecoveryKeyIds(name))
                    list += identifier + ";";
            list += recovery + "\r\n";
        }
    }
    _folder.WriteFile(ring + "/list.csv", list);
    const std::string &keyFile = samples.Image(name).keyFile;
    if (!keyFile.empty()) {
        std::ifstream file(samples.Folder() + "/" + keyFile, std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(file)),
                                std::istreambuf_iterator<char>());
        _folder.WriteFile(ring + "/keys/" + keyFile, bytes);
    }
    return _folder.At(ring);
}

void SampleKeys::AddRawKeys(const std::string &name, std::vector<Way> *ways) const
{
    const SampleImages &samples = SampleImages::Shared();
    const auto copies = CopiesOf(*samples.Source(name));
    const bitlocker::KeyStretcher stretcher;
    const auto secrets = samples.Image(name).Secrets(samples.Folder());
    const auto key = bitlocker::Unlocker(copies.usable, stretcher, nullptr).Unlock(secrets.front());
    if (!key)
        throw std::runtime_error(name + ": " + key.Failure().detail);
    const ByteView masterKey = key->masterKey.View();
    const ByteView sectorKey = key->sectorKey.View();
    ways->emplace_back("vmk", Hex(masterKey));
    ways->emplace_back("vmk", _folder.WriteFile(name + "-vmk", TextOf(masterKey)));
    ways->emplace_back("fvek", Hex(sectorKey));
    ways->emplace_back("fvek", _folder.WriteFile(name + "-fvek", KeyFileOf66Bytes(*key)));
    ways->emplace_back("fvek", _folder.WriteFile(name + "-fvek-bare", TextOf(sectorKey)));
}

}  // namespace vx
