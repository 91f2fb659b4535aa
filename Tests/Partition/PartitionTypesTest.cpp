// The names of the types of partitions, against the list of another program.
#include "PartitionTypes.h"

#include "Command.h"
#include "TemporaryFolder.h"

#include <fstream>
#include <gtest/gtest.h>
#include <set>
#include <sstream>

namespace vx {
namespace {

std::set<std::string> WordsOf(std::string text)
{
    for (char &c : text)
        c = std::isalnum(static_cast<unsigned char>(c)) ? static_cast<char>(std::tolower(c)) : ' ';
    std::istringstream words(text);
    return {std::istream_iterator<std::string>(words), {}};
}

bool ShareAWord(const std::string &a, const std::string &b)
{
    const std::set<std::string> words = WordsOf(a);
    const std::set<std::string> others = WordsOf(b);
    return std::any_of(words.begin(), words.end(),
                       [&](const std::string &word) { return others.count(word) > 0; });
}

Guid GuidFrom(const std::string &text)
{
    std::string digits;
    for (const char c : text)
        digits += c == '-' ? "" : std::string(1, c);
    static constexpr size_t kPlaces[] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
    Guid guid;
    for (size_t i = 0; i < guid.bytes.size(); ++i)
        guid.bytes[kPlaces[i]] =
            static_cast<uint8_t>(std::stoul(digits.substr(2 * i, 2), nullptr, 16));
    return guid;
}

class PartitionTypes : public testing::Test {
protected:
    // Lines "ID  name".
    std::vector<std::pair<std::string, std::string>> ListOf(const std::string &label) const
    {
        EXPECT_TRUE(
            RunShell("sfdisk --label " + label + " --list-types > " + Quoted(folder.At("list"))));
        std::ifstream lines(folder.At("list"));
        std::vector<std::pair<std::string, std::string>> types;
        for (std::string line; std::getline(lines, line);) {
            std::istringstream words(line);
            std::string id;
            std::string name;
            if (words >> id && std::getline(words >> std::ws, name))
                types.emplace_back(id, name);
        }
        return types;
    }

    const TemporaryFolder folder;
};

TEST_F(PartitionTypes, OfAGuidTableMeanWhatTheyMeanElsewhere)
{
    VX_NEEDS("sfdisk");
    int named = 0;
    for (const auto &[id, name] : ListOf("gpt")) {
        if (id.size() != 36)
            continue;
        const Guid guid = GuidFrom(id);
        const std::string found = GptTypeName(guid);
        if (found == guid.Capitals())
            continue;
        EXPECT_TRUE(ShareAWord(found, name)) << found << " / " << name;
        ++named;
    }
    EXPECT_GE(named, 30) << "a GUID that is mistyped is found in no list";
}

TEST_F(PartitionTypes, OfAnMbrMeanWhatTheyMeanElsewhere)
{
    VX_NEEDS("sfdisk");
    int named = 0;
    for (const auto &[id, name] : ListOf("dos")) {
        if (id.size() > 2 || id == "Id")
            continue;
        const std::string found = MbrTypeName(static_cast<uint8_t>(std::stoul(id, nullptr, 16)));
        if (found.rfind("0x", 0) == 0)
            continue;
        EXPECT_TRUE(ShareAWord(found, name) || id == "12" || id == "27" || id == "42")
            << id << ": " << found << " / " << name;
        ++named;
    }
    EXPECT_GE(named, 28);
}

TEST_F(PartitionTypes, OneThatIsNotKnownIsItsNumber)
{
    EXPECT_EQ(MbrTypeName(0x77), "0x77");
    EXPECT_EQ(MbrTypeName(0x0A), "0x0A");
    EXPECT_EQ(GptTypeName(GuidFrom("12345678-9abc-def0-1234-56789abcdef0")),
              "12345678-9ABC-DEF0-1234-56789ABCDEF0");
}

}  // namespace
}  // namespace vx
