// What mouse and keys do to the rows of the tree.
#include "Eventually.h"
#include "UserFixture.h"

#include <filesystem>

namespace {

namespace fs = std::filesystem;

class UserTreeTest : public UserTest {
protected:
    // What the tree's selection holds, by its export.
    void ExpectSelected(const std::string &main, const std::string &path)
    {
        Focus(main);
        Key("Return");
        ChooseFolder(destination);
        EXPECT_TRUE(Eventually([&] { return fs::exists(destination + "/" + path); })) << path;
        EXPECT_TRUE(Eventually([&] { return IsGone("Export"); }));
        const auto all = fs::recursive_directory_iterator(destination);
        for (const fs::directory_entry &entry : all)
            EXPECT_TRUE(entry.is_directory() || entry.path() == destination + "/" + path)
                << entry.path();
    }
};

TEST_F(UserTreeTest, TypedLettersSelectTheRowThatBeginsWithThem)
{
    for (const char *name : {"alpha.txt", "beta.txt", "Brown.txt", "bravo.txt"})
        _volume.WriteFile(name, name);
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = DrawnWindow();
    Focus(main);
    Type("alp");
    // A pause begins a new name.
    Run("sleep 1.2");
    Type("bro");
    ExpectSelected(main, "Brown.txt");
    CloseAndExpectNotice(main, host);
}

}  // namespace
