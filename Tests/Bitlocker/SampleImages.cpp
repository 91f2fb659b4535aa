#include "SampleImages.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <regex>
#include <stdexcept>
#include <unistd.h>

namespace vx::bitlocker {

namespace {

constexpr char kArchive[] = "unlock-images.tar.xz";

bool Exists(const std::string &path)
{
    return ::access(path.c_str(), R_OK) == 0;
}

void Run(const std::string &command)
{
    if (std::system(command.c_str()) != 0)
        throw std::runtime_error(command);
}

std::string ShellQuoted(const std::string &path)
{
    return "'" + path + "'";
}

std::string MakeTemporaryFolder()
{
    const char *parent = std::getenv("TMPDIR");
    std::string path = std::string(parent != nullptr ? parent : "/tmp") + "/sample-images-XXXXXX";
    if (::mkdtemp(path.data()) == nullptr)
        throw std::runtime_error(path);
    return path;
}

std::string SampleFolder()
{
    const char *other = std::getenv("VX_SAMPLE_IMAGES");
    return other != nullptr ? other : std::string(VX_SOURCE_DIR) + "/../shared/samples";
}

std::vector<std::string> AllMatches(const std::string &text, const std::string &pattern)
{
    const std::regex regex(pattern);
    std::vector<std::string> found;
    for (std::sregex_iterator match(text.begin(), text.end(), regex), end; match != end; ++match)
        found.push_back((*match)[1]);
    return found;
}

}  // namespace

std::vector<Secret> SampleImage::Secrets(const std::string &folder) const
{
    std::vector<Secret> all;
    for (const std::string &text : passwords)
        all.push_back(std::move(*Secret::FromPassword(text)));
    for (const std::string &text : recoveryPasswords)
        all.push_back(std::move(*Secret::FromRecoveryPassword(text)));
    if (!keyFile.empty())
        all.push_back(std::move(*Secret::FromStartupKeyFile(folder + "/" + keyFile)));
    if (all.empty())
        all.push_back(Secret::None());
    return all;
}

std::string SampleImages::TestName(std::string name)
{
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

SampleImages &SampleImages::Shared()
{
    static SampleImages images;
    return images;
}

SampleImages::SampleImages() : _samples(SampleFolder())
{
    if (Exists(PathBeside("README.md")))
        ReadTables();
}

SampleImages::~SampleImages()
{
    if (!_temporary.empty())
        (void)std::system(("rm -rf " + ShellQuoted(_temporary)).c_str());
}

void SampleImages::ReadSecrets(const std::string &name, const std::string &method,
                               const std::string &row)
{
    SampleImage &image = _images[name];
    image.method = method;
    image.passwords = AllMatches(row, "password `([^`]+)`");
    image.recoveryPasswords = AllMatches(row, "recovery `([^`]+)`");
    const std::vector<std::string> files = AllMatches(row, "`([-0-9A-F]+\\.BEK)`");
    image.keyFile = files.empty() ? "" : files.front();
}

// Rows of two kinds: name, method, secrets, ...; and name, length, hash, hash of the plaintext.
void SampleImages::ReadTables()
{
    const std::regex secrets("\\| `([-\\w]+?)(?:\\.img)?` \\| ([^|]*AES[^|]*) \\|(.*)");
    const std::regex hashes(
        "\\| `([-\\w]+?)(?:\\.img)?` \\| \\d+ \\| `\\w{64}` \\| (?:`(\\w{64})`|unknown) \\|");
    std::ifstream file(PathBeside("README.md"));
    for (std::string line; std::getline(file, line);) {
        std::smatch match;
        if (std::regex_match(line, match, hashes))
            _images[match[1]].plainHash = match[2];
        else if (std::regex_match(line, match, secrets))
            ReadSecrets(match[1], match[2], match[3]);
    }
}

std::string SampleImages::PackedName(const std::string &name)
{
    return name.rfind("bitlk-", 0) == 0 ? kArchive : name + ".img.xz";
}

std::string SampleImages::Path(const std::string &name) const
{
    return (name.rfind("bitlk-", 0) == 0 ? Folder() : _temporary) + "/" + name + ".img";
}

std::string SampleImages::Need(const std::string &file)
{
    const std::string path = PathBeside(file);
    if (Exists(path))
        return "";
    _missing.insert(path);
    return path;
}

std::string SampleImages::MissingText() const
{
    if (_missing.empty())
        return "";
    std::string text = "Missing files:\n";
    for (const std::string &path : _missing)
        text += "  " + path + "\n";
    return text + "Put them there, or set VX_SAMPLE_IMAGES to the folder that has them. "
                  "Tests/Bitlocker/SampleImages.h says what they are.\n";
}

std::string SampleImages::Prepare(const std::string &name)
{
    const std::string readMe = Need("README.md");
    const std::string packed = Need(PackedName(name));
    if (!readMe.empty() || !packed.empty())
        return readMe.empty() ? packed : readMe;
    if (_temporary.empty())
        _temporary = MakeTemporaryFolder();
    if (Exists(Path(name)))
        return "";
    if (name.rfind("bitlk-", 0) == 0)
        Run("tar -xJf " + ShellQuoted(PathBeside(PackedName(name))) + " -C " +
            ShellQuoted(_temporary));
    else
        Run("xz -dkc " + ShellQuoted(PathBeside(PackedName(name))) + " > " +
            ShellQuoted(Path(name)));
    return Exists(Path(name)) ? "" : Path(name);
}

std::shared_ptr<const ByteSource> SampleImages::Source(const std::string &name) const
{
    Result<std::unique_ptr<FileByteSource>> file = FileByteSource::Open(Path(name));
    if (!file)
        throw std::runtime_error(file.Failure().detail);
    return std::move(*file);
}

}  // namespace vx::bitlocker
