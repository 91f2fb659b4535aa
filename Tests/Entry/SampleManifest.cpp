#include "SampleManifest.h"

#include "SampleImages.h"

#include <algorithm>
#include <fstream>
#include <sstream>

namespace vx {
namespace {

std::vector<std::string> FieldsOf(const std::string &line)
{
    std::vector<std::string> fields;
    std::istringstream text(line);
    for (std::string field; std::getline(text, field, '\t');)
        fields.push_back(field);
    return fields;
}

bool IsShown(const std::string &path)
{
    const bool isOwn = path[0] == '$' && path.rfind("$RECYCLE.BIN", 0) != 0;
    return !isOwn && path.find(':') == path.npos && path.find("(Volume Label") == path.npos;
}

}  // namespace

std::string SampleManifest::FileOf(const std::string &name)
{
    return name + ".manifest.tsv";
}

SampleManifest SampleManifest::Read(const std::string &name)
{
    SampleManifest manifest;
    std::ifstream lines(bitlocker::SampleImages::Shared().PathBeside(FileOf(name)));
    for (std::string line; std::getline(lines, line);) {
        const std::vector<std::string> fields = FieldsOf(line);
        const bool isFile = fields.size() == 6 && fields[1] == "live" && !fields[4].empty();
        if (isFile && IsShown(fields[5]))
            manifest.files[fields[5]] = fields[4];
    }
    return manifest;
}

std::string SampleManifest::NameOfTest(const testing::TestParamInfo<const char *> &tested)
{
    std::string name = tested.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

void SampleManifest::MendCutNames(const TestTree &found)
{
    constexpr size_t kCutAt = 195;
    TestTree mended;
    for (const auto &[path, hash] : files) {
        const bool isCut = Utf16(path.substr(path.rfind('/') + 1)).size() == kCutAt;
        const auto whole = found.lower_bound(path);
        const bool continues = whole != found.end() && whole->first.rfind(path, 0) == 0;
        mended[isCut && continues ? whole->first : path] = hash;
    }
    files = mended;
}

}  // namespace vx
