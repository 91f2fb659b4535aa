// The window without a mouse, with real keys.
#include "HostTexts.h"
#include "HostWindow.h"

namespace {

using vxtest::EncryptedVolume;

class KeyboardTest : public HostWindowTest {
protected:
    // What the keyboard is with: the control, also while its text is edited.
    NSView *Focused()
    {
        NSResponder *responder = [Window() firstResponder];
        if ([responder isKindOfClass:[NSTextView class]] && [(NSTextView *)responder isFieldEditor])
            return (NSView *)[(NSTextView *)responder delegate];
        return (NSView *)responder;
    }

    void ExpectFocusAfter(const std::string &key, NSView *view, const char *name)
    {
        Focus();
        Key(key);
        EXPECT_TRUE(RunUntil([&] { return Focused() == view; }))
            << key << " to " << name << ", not to " << vx::BytesOf([Focused() description]) << " ("
            << [Focused() tag] << ")";
    }
};

TEST_F(KeyboardTest, TabLeadsThroughEveryControlAndBack)
{
    Choose("/x.img", EncryptedVolume("/x.img", {"password", "recovery-password"}));
    Type("a");
    EXPECT_TRUE(RunUntil([this] { return CanUnlock(); }));
    const struct {
        NSView *view;
        const char *name;
    } loop[] = {{[Fields() hiddenField], "password"}, {[Fields() showButton], "show"},
                {[Pane() unlockButton], "unlock"},    {List(), "list"},
                {[delegate openButton], "open"},      {[Pane() kindPopUp], "kind"}};
    constexpr size_t kCount = std::size(loop);
    EXPECT_EQ(Focused(), loop[0].view);
    for (size_t i = 1; i <= kCount; ++i)
        ExpectFocusAfter("Tab", loop[i % kCount].view, loop[i % kCount].name);
    for (size_t i = kCount; i-- > 0;)
        ExpectFocusAfter("shift+Tab", loop[i].view, loop[i].name);
    EXPECT_EQ(Text([Fields() hiddenField]), "a");
}

TEST_F(KeyboardTest, TabLeavesTheDigitsAndTheShownPassword)
{
    Choose("/x.img", EncryptedVolume("/x.img", {"recovery-password"}));
    Type("1");
    ExpectFocusAfter("Tab", List(), "list");
    ExpectFocusAfter("shift+Tab", [Fields() digitsField], "digits");
    ExpectFocusAfter("shift+Tab", [Pane() kindPopUp], "kind");
    Choose("/y.img", EncryptedVolume("/y.img", {"password"}));
    ExpectFocusAfter("Tab", [Fields() showButton], "show");
    Key("space");
    EXPECT_TRUE(RunUntil([this] { return ![[Fields() shownField] isHidden]; }));
    ExpectFocusAfter("Tab", [Fields() showButton], "show");
    ExpectFocusAfter("shift+Tab", [Fields() shownField], "shown password");
    ExpectFocusAfter("shift+Tab", [Pane() kindPopUp], "kind");
}

TEST_F(KeyboardTest, ADiskAndAKindAreChosenWithTheArrowsAndHeadingsArePassedOver)
{
    vx::AttachedVolume stick, disk;
    stick.path = "/dev/sdb";
    stick.isRemovable = true;
    disk.path = "/dev/sda";
    for (const std::string &path : {stick.path, disk.path})
        facts->Set(path,
                   {"", 0, {EncryptedVolume(path, {"password", "recovery-password"})}, {}, 0, ""});
    disks->Set({disk, stick});
    EXPECT_EQ(RowNamed("/dev/sdb"), 1);
    EXPECT_EQ(RowNamed("/dev/sda"), 3);
    ExpectFocusAfter("shift+Tab", [delegate openButton], "open");
    ExpectFocusAfter("shift+Tab", List(), "list");
    Key("Down");
    EXPECT_TRUE(RunUntil([this] { return ![[Fields() passwordRow] isHidden]; }));
    EXPECT_EQ([List() selectedRow], 1);
    EXPECT_TRUE(RunUntil([this] { return Focused() == [Fields() hiddenField]; }));
    ExpectFocusAfter("shift+Tab", [Pane() kindPopUp], "kind");
    ExpectFocusAfter("shift+Tab", [delegate openButton], "open");
    ExpectFocusAfter("shift+Tab", List(), "list");
    Key("Down");
    EXPECT_TRUE(RunUntil([this] { return [List() selectedRow] == 3; }));
    EXPECT_TRUE(RunUntil([this] { return Text([Pane() pathLabel]) == "/dev/sda"; }));
    EXPECT_TRUE(RunUntil([this] { return Focused() == [Fields() hiddenField]; }));
    ExpectFocusAfter("shift+Tab", [Pane() kindPopUp], "kind");
    Key("space");
    Key("Down");
    Key("Return");
    EXPECT_TRUE(RunUntil([this] { return ![[Fields() recoveryRow] isHidden]; }));
}

}  // namespace
