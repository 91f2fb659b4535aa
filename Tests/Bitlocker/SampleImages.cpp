#include "SampleImages.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <regex>
#include <stdexcept>
#include <unistd.h>

namespace vx::bitlocker {

namespace {

constexpr char kArchive[] = "unlock-images.tar.xz";

bool exists(const std::string &path)
{
    return ::access(path.c_str(), R_OK) == 0;
}

void run(const std::string &command)
{
    if (std::system(command.c_str()) != 0)
        throw std::runtime_error(command);
}

std::string shellQuoted(const std::string &path)
{
    return "'" + path + "'";
}

std::string makeTemporaryFolder()
{
    const char *parent = std::getenv("TMPDIR");
    std::string path = std::string(parent != nullptr ? parent : "/tmp") + "/sample-images-XXXXXX";
    if (::mkdtemp(path.data()) == nullptr)
        throw std::runtime_error(path);
    return path;
}

std::string sampleFolder()
{
    const char *other = std::getenv("VX_SAMPLE_IMAGES");
    return other != nullptr ? other : std::string(VX_SOURCE_DIR) + "/../shared/samples";
}

std::vector<std::string> allMatches(const std::string &text, const std::string &pattern)
{
    const std::regex regex(pattern);
    std::vector<std::string> found;
    for (std::sregex_iterator match(text.begin(), text.end(), regex), end; match != end; ++match)
        found.push_back((*match)[1]);
    return found;
}

}  // namespace

std::vector<Secret> SampleImage::secrets(const std::string &folder) const
{
    std::vector<Secret> all;
    for (const std::string &text : passwords)
        all.push_back(std::move(*Secret::password(text)));
    for (const std::string &text : recoveryPasswords)
        all.push_back(std::move(*Secret::recoveryPassword(text)));
    if (!keyFile.empty())
        all.push_back(std::move(*Secret::startupKeyFile(folder + "/" + keyFile)));
    if (all.empty())
        all.push_back(Secret::none());
    return all;
}

SampleImages &SampleImages::shared()
{
    static SampleImages images;
    return images;
}

SampleImages::SampleImages() : _samples(sampleFolder())
{
    if (exists(_samples + "/README.md"))
        readTables();
}

SampleImages::~SampleImages()
{
    if (!_temporary.empty())
        (void)std::system(("rm -rf " + shellQuoted(_temporary)).c_str());
}

void SampleImages::readSecrets(const std::string &name, const std::string &row)
{
    SampleImage &image = _images[name];
    image.passwords = allMatches(row, "password `([^`]+)`");
    image.recoveryPasswords = allMatches(row, "recovery `([^`]+)`");
    const std::vector<std::string> files = allMatches(row, "`([-0-9A-F]+\\.BEK)`");
    image.keyFile = files.empty() ? "" : files.front();
}

// Rows of two kinds: name, method, secrets, ...; and name, length, hash, hash of the plaintext.
void SampleImages::readTables()
{
    const std::regex secrets("\\| `([-\\w]+?)(?:\\.img)?` \\| [^|]*AES[^|]* \\|(.*)");
    const std::regex hashes(
        "\\| `([-\\w]+?)(?:\\.img)?` \\| \\d+ \\| `\\w{64}` \\| (?:`(\\w{64})`|unknown) \\|");
    std::ifstream file(_samples + "/README.md");
    for (std::string line; std::getline(file, line);) {
        std::smatch match;
        if (std::regex_match(line, match, hashes))
            _images[match[1]].plainHash = match[2];
        else if (std::regex_match(line, match, secrets))
            readSecrets(match[1], match[2]);
    }
}

std::string SampleImages::packedPath(const std::string &name) const
{
    const std::string own = _samples + "/" + name + ".img.xz";
    return name.rfind("bitlk-", 0) == 0 ? _samples + "/" + kArchive : own;
}

std::string SampleImages::path(const std::string &name) const
{
    return (name.rfind("bitlk-", 0) == 0 ? folder() : _temporary) + "/" + name + ".img";
}

std::string SampleImages::prepare(const std::string &name)
{
    for (const std::string &needed : {_samples + "/README.md", packedPath(name)})
        if (!exists(needed))
            return needed;
    if (_temporary.empty())
        _temporary = makeTemporaryFolder();
    if (exists(path(name)))
        return "";
    if (name.rfind("bitlk-", 0) == 0)
        run("tar -xJf " + shellQuoted(packedPath(name)) + " -C " + shellQuoted(_temporary));
    else
        run("xz -dkc " + shellQuoted(packedPath(name)) + " > " + shellQuoted(path(name)));
    return exists(path(name)) ? "" : path(name);
}

std::shared_ptr<const ByteSource> SampleImages::source(const std::string &name) const
{
    Result<std::unique_ptr<FileByteSource>> file = FileByteSource::open(path(name));
    if (!file)
        throw std::runtime_error(describe(file.error()));
    return std::move(*file);
}

}  // namespace vx::bitlocker
