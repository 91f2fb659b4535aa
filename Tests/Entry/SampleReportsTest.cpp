// What is reported of volumes that Windows encrypted (see SampleImages.h): against their list, and
// against what cryptsetup prints of them.
#include "DiskDescription.h"
#include "SampleImages.h"
#include "TestImage.h"

#include <algorithm>
#include <ctime>
#include <fstream>
#include <regex>

namespace vx {
namespace {

using bitlocker::SampleImages;
using Strings = std::vector<std::string>;

#define NEED_SAMPLE(name)                                                                          \
    do {                                                                                           \
        const std::string missing = SampleImages::Shared().Prepare(name);                          \
        if (!missing.empty())                                                                      \
            GTEST_SKIP() << missing << " is missing";                                              \
    } while (false)

struct Expected {
    const char *name;
    const char *method;
    const char *state;
    const char *kinds;  // of the protectors, sorted
};

constexpr char kElephant128[] = "AES-128-CBC with Elephant diffuser";
constexpr char kElephant256[] = "AES-256-CBC with Elephant diffuser";
constexpr char kUsual[] = "password recovery-password";

// By their list.
constexpr Expected kExpected[] = {
    {"ntfs-cbc128", "AES-128-CBC", "encrypted", "password recovery-password startup-key"},
    {"tree-ntfs-xts128", "AES-128-XTS", "encrypted", kUsual},
    {"tree-fat16-cbc128", "AES-128-CBC", "encrypted", kUsual},
    {"bitlk-aes-cbc-128", "AES-128-CBC", "encrypted", kUsual},
    {"bitlk-aes-cbc-256", "AES-256-CBC", "encrypted", kUsual},
    {"bitlk-aes-xts-128", "AES-128-XTS", "encrypted", kUsual},
    {"bitlk-aes-xts-256", "AES-256-XTS", "encrypted", kUsual},
    {"bitlk-aes-cbc-elephant-128", kElephant128, "encrypted", kUsual},
    {"bitlk-aes-cbc-elephant-256", kElephant256, "encrypted", kUsual},
    {"bitlk-togo-aes-cbc-128", "AES-128-CBC", "encrypted", kUsual},
    {"bitlk-togo-aes-xts-128", "AES-128-XTS", "encrypted", kUsual},
    {"bitlk-aes-cbc-128-4k", "AES-128-CBC", "encrypted", kUsual},
    {"bitlk-aes-xts-128-4k", "AES-128-XTS", "encrypted", kUsual},
    {"bitlk-aes-xts-128-new-entry", "AES-128-XTS", "encrypted", kUsual},
    {"bitlk-aes-xts-128-smart-card", "AES-128-XTS", "encrypted", "recovery-password smart-card"},
    {"bitlk-aes-xts-128-startup-key", "AES-128-XTS", "encrypted",
     "password recovery-password startup-key"},
    {"bitlk-aes-xts-128-startup-key-win11", "AES-128-XTS", "encrypted",
     "password recovery-password startup-key"},
    {"bitlk-aes-xts-128-two-recovery", "AES-128-XTS", "encrypted",
     "password recovery-password recovery-password"},
    {"bitlk-aes-xts-128-unicode", "AES-128-XTS", "encrypted", kUsual},
    {"bitlk-aes-xts-128-crc", "AES-128-XTS", "encrypted", kUsual},
    {"bitlk-aes-xts-128-clearkey-only", "AES-128-XTS", "encrypted", "clear-key"},
    {"bitlk-aes-xts-128-first-recovery", "AES-128-XTS", "encrypted", kUsual},
    {"bitlk-aes-xts-128-eow", "AES-128-XTS", "unknown", kUsual},
    {"bitlk-partially-encrypted-aes-cbc-128", "AES-128-CBC", "unknown",
     "clear-key password recovery-password"},
};

std::string NameOfTest(const testing::TestParamInfo<Expected> &tested)
{
    std::string name = tested.param.name;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

class SampleReports : public testing::TestWithParam<Expected> {
protected:
    void SetUp() override
    {
        NEED_SAMPLE(GetParam().name);
        auto described = DescribeDisk(SampleImages::Shared().Path(GetParam().name));
        ASSERT_TRUE(described) << described.Failure().detail;
        report = std::move(*described);
        ASSERT_EQ(report->volumeCount, 1u);
        encryption = report->volumes[0].encryption;
        ASSERT_NE(encryption, nullptr);
    }

    static bool Is(const char *name) { return GetParam().name == std::string(name); }

    DescribedDisk report;
    const DiskEncryptionReport *encryption = nullptr;
};

TEST_P(SampleReports, SayWhatTheListOfTheSamplesSays)
{
    const Expected &expected = GetParam();
    const std::string name = expected.name;
    EXPECT_STREQ(report->volumes[0].kind, "encrypted");
    EXPECT_STREQ(encryption->method, expected.method);
    EXPECT_STREQ(encryption->state, expected.state);
    const bool isKnown = expected.state == std::string("encrypted");
    EXPECT_EQ(encryption->encryptedBytes, isKnown ? report->bytes : kUnknownEncryptedBytes);
    EXPECT_EQ(report->warningCount, isKnown ? 0u : 1u) << "the map was erased";
    const bool isToGo = name.find("togo") != name.npos || name.find("fat16") != name.npos;
    EXPECT_STREQ(encryption->layout, isToGo ? "to-go" : "windows-7");
    Strings kinds;
    for (size_t i = 0; i < encryption->protectorCount; ++i)
        kinds.emplace_back(encryption->protectors[i].kind);
    std::sort(kinds.begin(), kinds.end());
    std::string joined;
    for (const std::string &kind : kinds)
        joined += (joined.empty() ? "" : " ") + kind;
    EXPECT_EQ(joined, expected.kinds);
    EXPECT_EQ(encryption->hasClearKey, joined.find("clear-key") != joined.npos);
}

TEST_P(SampleReports, SayWhichCopiesOfTheMetadataAreGood)
{
    const bool isDamaged = Is("bitlk-aes-xts-128-crc");
    ASSERT_EQ(encryption->copyCount, 3u);
    for (size_t copy = 0; copy < 3; ++copy)
        EXPECT_STREQ(encryption->copies[copy].problem,
                     isDamaged && copy < 2 ? "the checksum is wrong" : "");
}

// The key file of a startup key is named after its protector.
TEST_P(SampleReports, SayWhoseKeyFileItIs)
{
    const std::string file = SampleImages::Shared().Image(GetParam().name).keyFile;
    if (file.empty())
        return;
    const auto end = encryption->protectors + encryption->protectorCount;
    EXPECT_TRUE(std::any_of(encryption->protectors, end, [&](const DiskProtectorReport &one) {
        return one.identifier + std::string(".BEK") == file &&
               one.kind == std::string("startup-key");
    }));
}

std::string InCapitals(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

std::string MethodOf(const std::string &mode, const std::string &keyBits)
{
    if (mode == "xts-plain64")
        return keyBits == "512 bits" ? "AES-256-XTS" : "AES-128-XTS";
    return "AES-" + keyBits.substr(0, 3) + "-CBC" +
           (mode == "cbc-elephant" ? " with Elephant diffuser" : "");
}

// The form of asctime.
std::string DateText(uint64_t fileTime)
{
    constexpr uint64_t kTo1970 = 11644473600;
    const auto seconds = static_cast<time_t>(fileTime / 10000000 - kTo1970);
    tm parts = {};
    gmtime_r(&seconds, &parts);
    char text[64];
    std::strftime(text, sizeof text, "%a %b %e %H:%M:%S %Y", &parts);
    return text;
}

std::string KindOf(const std::string &protection)
{
    const std::map<std::string, std::string> kinds = {
        {"VMK protected with passphrase", "password"},
        {"VMK protected with recovery passphrase", "recovery-password"},
        {"VMK protected with startup key", "startup-key"},
        {"VMK protected with smart card", "smart-card"},
        {"VMK protected with clear key", "clear-key"},
    };
    const auto known = kinds.find(protection);
    return known != kinds.end() ? known->second : protection;
}

// What cryptsetup prints, in our words: a line for each fact.
Strings PrintedByCryptsetup(const std::string &image)
{
    const TemporaryFolder folder;
    const std::string list = folder.At("list");
    EXPECT_TRUE(RunShell("TZ=UTC cryptsetup bitlkDump " + Quoted(image) + " > " + Quoted(list)));
    Strings facts;
    std::string mode;
    std::string protector;
    const std::regex line(R"(\s*([A-Za-z ]+):\s+(.*?)( \[bytes\]\.?)?\s*)");
    std::ifstream lines(list);
    bool isInSegment = false;
    for (std::string text; std::getline(lines, text);) {
        std::smatch found;
        isInSegment = isInSegment || text.find("Metadata segments") != text.npos;
        if (!std::regex_match(text, found, line))
            continue;
        const std::string name = found[1];
        const std::string value = found[2];
        if (name == "Sector size" || name == "Description" || name == "Created")
            facts.push_back(name + " " + value);
        if (name == "Cipher mode")
            mode = value;
        if (name == "Cipher key")
            facts.push_back("Method " + MethodOf(mode, value));
        if (name == "GUID" && text[0] == '\t')
            protector = InCapitals(value);
        else if (name == "GUID")
            facts.push_back("Volume " + InCapitals(value));
        if (name == "Protection")
            facts.push_back("Protector " + protector + " " + KindOf(value));
        if (isInSegment && name == "Offset")
            facts.push_back("Copy " + value);
    }
    return facts;
}

TEST_P(SampleReports, SayWhatCryptsetupSays)
{
    VX_NEEDS("cryptsetup");
    const Strings printed = PrintedByCryptsetup(SampleImages::Shared().Path(GetParam().name));
    Strings facts = {
        "Volume " + std::string(encryption->identifier),
        "Sector size " + std::to_string(encryption->sectorBytes),
        "Created " + DateText(encryption->created),
    };
    // It also takes what stands in a damaged copy.
    if (!Is("bitlk-aes-xts-128-crc"))
        facts.push_back("Description " + std::string(encryption->description));
    // It prints the key length of AES only for methods without a diffuser.
    if (std::string(encryption->method).find("Elephant") == std::string::npos)
        facts.push_back("Method " + std::string(encryption->method));
    for (size_t i = 0; i < encryption->protectorCount; ++i)
        facts.push_back("Protector " + std::string(encryption->protectors[i].identifier) + " " +
                        encryption->protectors[i].kind);
    for (size_t i = 0; i < encryption->copyCount; ++i)
        facts.push_back("Copy " + std::to_string(encryption->copies[i].offset));
    for (const std::string &fact : facts)
        EXPECT_NE(std::find(printed.begin(), printed.end(), fact), printed.end()) << fact;
    const auto isProtector = [](const std::string &fact) {
        return fact.rfind("Protector", 0) == 0;
    };
    EXPECT_EQ(std::count_if(printed.begin(), printed.end(), isProtector),
              static_cast<ptrdiff_t>(encryption->protectorCount));
}

INSTANTIATE_TEST_SUITE_P(Samples, SampleReports, testing::ValuesIn(kExpected), NameOfTest);

TEST(SampleReportList, HasEveryImage)
{
    SampleImages &samples = SampleImages::Shared();
    if (samples.Images().empty())
        GTEST_SKIP() << samples.Need("README.md") << " is missing";
    EXPECT_EQ(samples.Images().size(), std::size(kExpected));
}

}  // namespace
}  // namespace vx
