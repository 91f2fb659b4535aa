// What is left of a secret among the words of a command line.
#include "Unlocking.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>

namespace vx {
namespace {

using ::testing::ElementsAre;

std::vector<std::string> Hidden(const Unlocking &unlocking, std::vector<std::string> words)
{
    std::vector<char *> list;
    for (std::string &word : words)
        list.push_back(word.data());
    list.push_back(nullptr);
    unlocking.HideIn(list.data());
    return words;
}

Unlocking Given(const std::string &kind, const std::string &secret)
{
    Unlocking unlocking;
    unlocking.kind = kind;
    unlocking.secret = secret;
    return unlocking;
}

TEST(HiddenSecret, EveryWordThatIsTheSecretBecomesAsterisksOfItsLength)
{
    EXPECT_THAT(Hidden(Given("password", "geheim"), {"disk", "geheim", "geheimer", "geheim"}),
                ElementsAre("disk", "******", "geheimer", "******"));
}

TEST(HiddenSecret, WithoutASecretNothingChanges)
{
    EXPECT_THAT(Hidden(Given("password", ""), {"disk", "", "-"}), ElementsAre("disk", "", "-"));
}

TEST(HiddenSecret, ThePathOfAKeyFileStaysButAKeyInItsPlaceDoesNot)
{
    const TemporaryFolder folder;
    const std::string file = folder.WriteFile("key", "x");
    for (const char *kind : {"startup-key", "recovery-file", "key-ring", "vmk", "fvek"})
        EXPECT_THAT(Hidden(Given(kind, file), {file}), ElementsAre(file)) << kind;
    EXPECT_THAT(Hidden(Given("fvek", "00ff"), {"00ff"}), ElementsAre("****"));
    EXPECT_THAT(Hidden(Given("password", file), {file}), ElementsAre(std::string(file.size(), '*')))
        << "a password may look like a path";
}

}  // namespace
}  // namespace vx
