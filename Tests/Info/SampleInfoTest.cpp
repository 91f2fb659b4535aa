// Volumes that Windows encrypted (see SampleImages.h), as volume-info shows them, against the table
// that lists their methods and secrets.
#include "InfoFixture.h"

#include "SampleImages.h"

#include <algorithm>
#include <cstring>

namespace vx {
namespace {

using bitlocker::SampleImage;
using bitlocker::SampleImages;
using ::testing::HasSubstr;

constexpr int kNotOpened = 3;

bool Has(const std::string &text, const char *part)
{
    return text.find(part) != std::string::npos;
}

class SampleInfo : public InfoTest, public testing::WithParamInterface<const char *> {
protected:
    void SetUp() override
    {
        const std::string missing = SampleImages::Shared().Prepare(GetParam());
        if (!missing.empty())
            GTEST_SKIP() << missing << " is missing";
        _image = &SampleImages::Shared().Image(GetParam());
        _path = SampleImages::Shared().Path(GetParam());
    }

    Result RunReal(const Arguments &arguments) { return RunWith(VX_LIBRARY, arguments); }

    // What unlocks the image quickest, as words of the command line.
    Arguments Unlock() const
    {
        if (!_image->keyFile.empty())
            return {"--unlock", "startup-key",
                    SampleImages::Shared().Folder() + "/" + _image->keyFile};
        if (!_image->passwords.empty())
            return {"--unlock", "password", _image->passwords[0]};
        if (!_image->recoveryPasswords.empty())
            return {"--unlock", "recovery", _image->recoveryPasswords[0]};
        return {};
    }

    const SampleImage *_image = nullptr;
    std::string _path;
};

TEST_P(SampleInfo, ShowsMethodAndLayoutOfItsTable)
{
    const Result result = RunReal({"--json", _path});
    ASSERT_EQ(result.status, 0) << result.errors;
    const std::string facts = Json(result.output, "[d['volumes'][0]['encryption'][k] for k in "
                                                  "('method', 'layout', 'sectorBytes')]");
    EXPECT_THAT(facts, HasSubstr("\"" + _image->method.substr(0, strlen("AES-128-CBC"))));
    EXPECT_EQ(Has(facts, "diffuser"), Has(_image->method, "Elephant")) << facts;
    EXPECT_EQ(Has(facts, "\"to-go\""), Has(_image->method, "To Go")) << facts;
    EXPECT_EQ(Has(facts, " 4096]"), Has(_image->method, "4096-byte sectors")) << facts;
}

TEST_P(SampleInfo, ShowsAProtectorForEachSecretOfItsTable)
{
    const std::string document = RunReal({"--json", _path}).output;
    const auto kinds = [&](const std::string &kind) {
        return Json(document, "[p['identifier'] for p in d['volumes'][0]['encryption']"
                              "['protectors'] if p['kind'] == '" +
                                  kind + "']");
    };
    const std::string recovery = kinds("recovery-password");
    EXPECT_EQ(static_cast<size_t>(std::count(recovery.begin(), recovery.end(), '"')),
              2 * _image->recoveryPasswords.size());
    if (!_image->passwords.empty())
        EXPECT_NE(kinds("password"), "[]");
    if (!_image->keyFile.empty())
        EXPECT_THAT(kinds("startup-key"),
                    HasSubstr(_image->keyFile.substr(0, _image->keyFile.find('.'))));
    if (Has(GetParam(), "smart-card"))
        EXPECT_NE(kinds("smart-card"), "[]");
    if (_image->passwords.empty() && _image->recoveryPasswords.empty())
        EXPECT_NE(kinds("clear-key"), "[]");
}

// The header-only images are unlocked, but have no file system; in two of them not even the record
// of what is encrypted is left.
TEST_P(SampleInfo, ShowsItsRecoveryPasswordsOnceItIsUnlocked)
{
    std::vector<std::string> expected = _image->recoveryPasswords;
    std::sort(expected.begin(), expected.end());
    std::string list;
    for (const std::string &password : expected)
        list += (list.empty() ? "\"" : ", \"") + password + "\"";
    Arguments arguments = Unlock();
    arguments.insert(arguments.end(), {"--json", "--show-recovery-password", _path});
    const Result result = RunReal(arguments);
    EXPECT_EQ(result.status, Has(GetParam(), "bitlk-") ? kNotOpened : 0) << result.errors;
    EXPECT_EQ(Json(result.output, "d['opened'] and sorted(p['password'] for p in d['opened']"
                                  "['recoveryPasswords'])"),
              "[" + list + "]");
}

// The names in the tables of the guide are those of the document, and each of the document stands
// in the guide.
TEST_F(InfoTest, TheGuideNamesTheKeysOfTheDocumentOfAnOpenedVolume)
{
    constexpr char kSample[] = "tree-ntfs-xts128";
    const std::string missing = SampleImages::Shared().Prepare(kSample);
    if (!missing.empty())
        GTEST_SKIP() << missing << " is missing";
    const Result result =
        RunWith(VX_LIBRARY, {"--json", "--show-recovery-password", "--unlock", "password",
                             SampleImages::Shared().Image(kSample).passwords.at(0),
                             SampleImages::Shared().Path(kSample)});
    ASSERT_EQ(result.status, 0) << result.errors;
    const std::string document = _folder.WriteFile("document.json", result.output);
    ToolRun run("/usr/bin/env", {"python3", VX_SOURCE_DIR "/Tests/Info/guide-names.py", document,
                                 VX_SOURCE_DIR "/docs/info.md"});
    EXPECT_EQ(run.Wait(), 0) << run.Errors();
    EXPECT_EQ(run.Output(), "not in the guide: []\nonly in the guide: []\n");
}

std::string CaseName(const testing::TestParamInfo<const char *> &info)
{
    return SampleImages::TestName(info.param);
}

INSTANTIATE_TEST_SUITE_P(Samples, SampleInfo, testing::ValuesIn(bitlocker::kReadableSamples),
                         CaseName);
INSTANTIATE_TEST_SUITE_P(SamplesWithoutMap, SampleInfo,
                         testing::ValuesIn(bitlocker::kSamplesWithoutMap), CaseName);

}  // namespace
}  // namespace vx
