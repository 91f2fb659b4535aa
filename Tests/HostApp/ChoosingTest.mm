// Choosing what to open, in a real window: the list, disks that come and go, a dropped file, and
// the right to read.
#import "DropView.h"
#include "HostTexts.h"
#include "HostWindow.h"
#import "RightRow.h"
#include "VolumeLibraryStatus.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <pthread.h>

// What the library hands to a view on which something is dropped; only the pasteboard is asked.
@interface StandInDrag : NSObject {
    NSPasteboard *_pasteboard;
}
- (id)initWithPaths:(NSArray *)paths;
- (NSPasteboard *)draggingPasteboard;
@end

@implementation StandInDrag

- (id)initWithPaths:(NSArray *)paths
{
    self = [super init];
    if (self != nil) {
        _pasteboard = [[NSPasteboard pasteboardWithName:NSDragPboard] retain];
        [_pasteboard declareTypes:@[ NSFilenamesPboardType ] owner:nil];
        [_pasteboard setPropertyList:paths forType:NSFilenamesPboardType];
    }
    return self;
}

- (void)dealloc
{
    [_pasteboard release];
    [super dealloc];
}

- (NSPasteboard *)draggingPasteboard
{
    return _pasteboard;
}

@end

namespace {

using vxtest::EncryptedVolume;
using vxtest::PlainVolume;

vx::AttachedVolume Disk(const std::string &path, bool isEncrypted = false)
{
    vx::AttachedVolume disk;
    disk.path = path;
    disk.bytes = 1 << 30;
    disk.isEncrypted = isEncrypted;
    return disk;
}

NSArray *StoredImages()
{
    return [[NSUserDefaults standardUserDefaults] arrayForKey:@"RecentImages"];
}

TEST_F(HostWindowTest, ADiskThatComesIsListedAndTheSelectionStays)
{
    disks->Set({Disk("/dev/sdb")});
    EXPECT_EQ(RowNamed("/dev/sdb"), 1);
    Choose("/dev/sdb", PlainVolume("/dev/sdb", "DATA"));
    EXPECT_EQ([List() selectedRow], 1);
    disks->Set({Disk("/dev/sda"), Disk("/dev/sdb")});
    EXPECT_EQ(RowNamed("/dev/sda"), 1);
    EXPECT_EQ([List() selectedRow], 2);
    EXPECT_TRUE(CanUnlock()) << "what was chosen is left alone";
    EXPECT_EQ([StoredImages() count], 0u) << "a listed disk is no image";
}

// A disk that does not answer holds up one thread, however many come and go meanwhile.
TEST_F(HostWindowTest, WhileAListIsAwaitedNoOtherIsAskedForAndTheLastOneIsShown)
{
    EXPECT_TRUE(RunUntil([this] { return disks->Listed() == 1; }));
    disks->Hold();
    disks->Set({Disk("/dev/sda")});
    EXPECT_TRUE(RunUntil([this] { return disks->Listed() == 2; }));
    for (const char *path : {"/dev/sdb", "/dev/sdc", "/dev/sdd"})
        disks->Set({Disk(path)});
    const NSTimeInterval kMoment = 0.3;
    NSDate *later = [NSDate dateWithTimeIntervalSinceNow:kMoment];
    RunUntil([later] { return [later timeIntervalSinceNow] < 0; });
    EXPECT_EQ(disks->Listed(), 2);
    disks->Release();
    EXPECT_EQ(RowNamed("/dev/sdd"), 1);
    EXPECT_EQ(disks->Listed(), 3);
}

TEST_F(HostWindowTest, AChosenDiskThatGoesAwayIsSaidToHaveGone)
{
    disks->Set({Disk("/dev/sda"), Disk("/dev/sdb", true)});
    EXPECT_EQ(RowNamed("/dev/sdb"), 2);
    Choose("/dev/sdb", EncryptedVolume("/dev/sdb", {"password"}));
    Type("sec");
    EXPECT_TRUE(RunUntil([this] { return CanUnlock(); }));
    disks->Set({Disk("/dev/sda")});
    EXPECT_TRUE(RunUntil([this] { return Message() == "/dev/sdb was removed."; }));
    EXPECT_EQ([List() selectedRow], -1);
    EXPECT_FALSE(CanUnlock());
    EXPECT_EQ(Text([Fields() hiddenField]), "");
}

TEST_F(HostWindowTest, ADeviceThatIsNotListedIsOpenedAllTheSameAndNotTakenForAnImage)
{
    Choose("/dev/mapper/data", PlainVolume("/dev/mapper/data", "DATA"));
    disks->Set({Disk("/dev/sda")});
    EXPECT_EQ(RowNamed("/dev/sda"), 1);
    EXPECT_TRUE(CanUnlock());
    EXPECT_EQ(Message(), "");
    EXPECT_EQ([StoredImages() count], 0u);
}

TEST_F(HostWindowTest, ARowIsChosenWithTheMouseAndAHeadingIsNot)
{
    facts->Set("/dev/sdb", {"", 0, {PlainVolume("/dev/sdb", "DATA")}, {}, 0, ""});
    disks->Set({Disk("/dev/sdb")});
    EXPECT_EQ(RowNamed("/dev/sdb"), 1);
    NSView *row = [[[NSView alloc] initWithFrame:[List() rectOfRow:1]] autorelease];
    [List() addSubview:row];
    Click(row);
    [row removeFromSuperview];
    EXPECT_TRUE(RunUntil([this] { return CanUnlock(); }));
    EXPECT_EQ(Text([Pane() titleLabel]), "DATA");
    EXPECT_FALSE([(id)[delegate sourceList] tableView:List() shouldSelectRow:0]);
}

TEST_F(HostWindowTest, AnOpenedImageIsRememberedByItsPathAlone)
{
    for (const char *path : {"/home/anna/a.img", "/home/anna/b.img", "/home/anna/a.img"}) {
        Choose(path, PlainVolume(path, ""));
        [Pane() unlock:nil];
        Start();
        End(vx::SessionEndKind::kQuit);
    }
    EXPECT_EQ([StoredImages() count], 2u);
    EXPECT_EQ(vx::BytesOf([StoredImages() objectAtIndex:0]), "/home/anna/a.img");
    EXPECT_EQ(vx::BytesOf([StoredImages() objectAtIndex:1]), "/home/anna/b.img");
}

TEST_F(HostWindowTest, WhatAnotherProcessHasRememberedMeanwhileStays)
{
    [[NSUserDefaults standardUserDefaults] synchronize];
    // The library sees a change of a later second.
    const time_t now = time(nullptr);
    EXPECT_TRUE(RunUntil([now] { return time(nullptr) > now; }));
    const std::string settings =
        vx::BytesOf(GSDefaultsRootForUser(NSUserName())) + "/HostAppTest.plist";
    std::ofstream(settings + ".new") << "{ RecentImages = (\"/other.img\"); }";
    ASSERT_EQ(rename((settings + ".new").c_str(), settings.c_str()), 0);
    Choose("/home/anna/a.img", PlainVolume("/home/anna/a.img", ""));
    [Pane() unlock:nil];
    Start();
    End(vx::SessionEndKind::kQuit);
    ASSERT_EQ([StoredImages() count], 2u);
    EXPECT_EQ(vx::BytesOf([StoredImages() objectAtIndex:0]), "/home/anna/a.img");
    EXPECT_EQ(vx::BytesOf([StoredImages() objectAtIndex:1]), "/other.img");
    std::ifstream stored(settings);
    const std::string contents((std::istreambuf_iterator<char>(stored)), {});
    EXPECT_NE(contents.find("/home/anna/a.img"), std::string::npos) << "at once";
    EXPECT_NE(contents.find("/other.img"), std::string::npos);
}

TEST_F(HostWindowTest, WhatWasChosenAndDidNotOpenIsNotRemembered)
{
    Choose("/home/anna/a.img", PlainVolume("/home/anna/a.img", ""));
    EXPECT_EQ([StoredImages() count], 0u);
    [Pane() unlock:nil];
    Refuse(static_cast<int32_t>(VolumeLibraryStatus::kFileSystemDamaged));
    EXPECT_EQ([StoredImages() count], 0u);
}

TEST_F(HostWindowTest, APathThatIsNotUtf8IsKeptByteForByteAndShownAsOneLine)
{
    const std::string path = "/a/d\xe9\n.img";
    facts->Set(path, vx::DiskFacts());
    [[delegate sourceList] choosePath:path];
    [[delegate sourceList] rememberChosen];
    EXPECT_EQ(Text([Pane() pathLabel]), "/a/d\uFFFD\uFFFD.img");
    SourceList *next = [[[SourceList alloc] init] autorelease];
    [next choosePath:"/b.img"];
    [next rememberChosen];
    ASSERT_EQ([StoredImages() count], 2u);
    NSData *bytes = [StoredImages() objectAtIndex:1];
    ASSERT_TRUE([bytes isKindOfClass:[NSData class]]);
    EXPECT_EQ(std::string(static_cast<const char *>([bytes bytes]), [bytes length]), path);
    EXPECT_TRUE(RunUntil([this] { return [[Pane() progressBar] isHidden]; }));
}

TEST_F(HostWindowTest, AFileIsDroppedOnTheWindow)
{
    facts->Set("/home/anna/a.img", {"", 0, {PlainVolume("/home/anna/a.img", "DATA")}, {}, 0, ""});
    DropView *content = (DropView *)[Window() contentView];
    EXPECT_TRUE([[content registeredDraggedTypes] containsObject:NSFilenamesPboardType]);
    id drag = [[[StandInDrag alloc] initWithPaths:@[ @"/home/anna/a.img" ]] autorelease];
    [content setClosed:YES];
    EXPECT_EQ([content draggingEntered:drag], NSDragOperationNone);
    [content setClosed:NO];
    EXPECT_EQ([content draggingEntered:drag], NSDragOperationCopy);
    EXPECT_TRUE([content performDragOperation:drag]);
    EXPECT_TRUE(RunUntil([this] { return CanUnlock(); }));
    EXPECT_EQ(Text([Pane() pathLabel]), "/home/anna/a.img");
    id nothing = [[[StandInDrag alloc] initWithPaths:@[]] autorelease];
    EXPECT_EQ([content draggingEntered:nothing], NSDragOperationNone);
}

TEST_F(HostWindowTest, TheFactsOfAnEarlierChoiceNeverArriveLate)
{
    facts->Hold();
    facts->Set("/slow.img", {"", 0, {PlainVolume("/slow.img", "SLOW")}, {}, 0, ""});
    [delegate openPath:@"/slow.img"];
    EXPECT_TRUE(RunUntil([this] { return facts->IsHolding(); }));
    [delegate openPath:@"/fast.img"];
    facts->Release();
    Choose("/fast.img", PlainVolume("/fast.img", "FAST"));
    const NSTimeInterval kMoment = 0.2;
    NSDate *later = [NSDate dateWithTimeIntervalSinceNow:kMoment];
    RunUntil([later] { return [later timeIntervalSinceNow] < 0; });
    EXPECT_EQ(Text([Pane() titleLabel]), "FAST");
}

TEST_F(HostWindowTest, WithoutPermissionTheCommandCanBeCopied)
{
    vx::DiskFacts forbidden;
    forbidden.status = static_cast<int32_t>(VolumeLibraryStatus::kPermissionDenied);
    Choose("/dev/sdb1", forbidden);
    EXPECT_EQ(Message(), "You have no permission to read it.");
    Click([[Pane() rightRow] commandButton]);
    EXPECT_TRUE(RunUntil([] {
        NSString *copied = [[NSPasteboard generalPasteboard] stringForType:NSStringPboardType];
        return vx::BytesOf(copied) == "sudo setfacl -m u:anna:r /dev/sdb1";
    }));
}

TEST_F(HostWindowTest, ARightThatIsGivenIsUsedAtOnceAndARefusalIsSaid)
{
    vx::DiskFacts forbidden;
    forbidden.status = static_cast<int32_t>(VolumeLibraryStatus::kPermissionDenied);
    Choose("/dev/sdb1", forbidden);
    rights->answer = [] { return vx::RightAnswer{false, true, "the password was wrong"}; };
    Click([[Pane() rightRow] askButton]);
    EXPECT_TRUE(RunUntil([this] { return Message() == "The permission was not given."; }));
    EXPECT_EQ(Details(), "Details:\nthe password was wrong");
    facts->Set("/dev/sdb1", {"", 0, {EncryptedVolume("/dev/sdb1", {"password"})}, {}, 0, ""});
    rights->answer = [] { return vx::RightAnswer{true, true, ""}; };
    Click([[Pane() rightRow] askButton]);
    EXPECT_TRUE(RunUntil([this] { return ![[Fields() passwordRow] isHidden]; }));
    EXPECT_EQ(Message(), "");
    EXPECT_TRUE([[[Pane() rightRow] askRow] isHidden]);
}

TEST_F(HostWindowTest, WhereNothingCanGiveTheRightOnlyTheCommandStays)
{
    vx::DiskFacts forbidden;
    forbidden.status = static_cast<int32_t>(VolumeLibraryStatus::kPermissionDenied);
    Choose("/dev/sdb1", forbidden);
    rights->answer = [] { return vx::RightAnswer{false, false, "there is no pkexec"}; };
    Click([[Pane() rightRow] askButton]);
    EXPECT_TRUE(RunUntil([this] { return [[[Pane() rightRow] askRow] isHidden]; }));
    EXPECT_FALSE([[[Pane() rightRow] commandRow] isHidden]);
    EXPECT_EQ(Text([[Pane() rightRow] commandCaption]), "Run this command in a terminal:");
}

// No thread can be started while it lives: none has room for such a stack.
class NoThreads {
public:
    NoThreads()
    {
        constexpr size_t kTooLarge = size_t{1} << 46;
        pthread_getattr_default_np(&_usual);
        pthread_attr_t attributes;
        pthread_getattr_default_np(&attributes);
        pthread_attr_setstacksize(&attributes, kTooLarge);
        pthread_setattr_default_np(&attributes);
    }
    ~NoThreads() { pthread_setattr_default_np(&_usual); }
    NoThreads(const NoThreads &) = delete;
    NoThreads &operator=(const NoThreads &) = delete;

private:
    pthread_attr_t _usual;
};

TEST_F(HostWindowTest, WithoutAThreadForItEachPartOfTheWindowSaysSo)
{
    vx::DiskFacts forbidden;
    forbidden.status = static_cast<int32_t>(VolumeLibraryStatus::kPermissionDenied);
    Choose("/dev/sdb1", forbidden);
    {
        const NoThreads none;
        [[Pane() rightRow] ask:nil];
        EXPECT_EQ(Message(), "The permission was not given.");
        EXPECT_EQ(Details(), "Details:\nno thread is left to ask with");
        EXPECT_TRUE([[[Pane() rightRow] askButton] isEnabled]);
        [delegate openPath:@"/y.img"];
        EXPECT_EQ(Message(), "There is not enough memory.");
        disks->Set({Disk("/dev/sda")});
        EXPECT_EQ(RowNamed("There is not enough memory."), 0);
    }
    disks->Set({Disk("/dev/sda")});
    EXPECT_EQ(RowNamed("/dev/sda"), 1);
    EXPECT_EQ([List() numberOfRows], 2);
}

TEST_F(HostWindowTest, WhereThereIsNoQuestionOnlyTheCommandIsOffered)
{
    vx::DiskFacts forbidden;
    forbidden.status = static_cast<int32_t>(VolumeLibraryStatus::kPermissionDenied);
    rights->canAsk = false;
    Choose("/dev/sdb1", forbidden);
    EXPECT_TRUE([[[Pane() rightRow] askRow] isHidden]);
    EXPECT_FALSE([[[Pane() rightRow] commandRow] isHidden]);
}

vx::HostServices StandInServices()
{
    return {std::make_unique<vxtest::StandInDisks>(), std::make_unique<vxtest::StandInFacts>(),
            std::make_unique<vxtest::StandInSessions>(), std::make_unique<vxtest::StandInRights>()};
}

class LaunchingHostTest : public HostWindowTest {
protected:
    LaunchingHostTest() : HostWindowTest(Services::kNone)
    {
        [HostAppDelegate setServicesMaker:StandInServices];
    }
    ~LaunchingHostTest() override
    {
        [HostAppDelegate setServicesMaker:nullptr];
        [HostAppDelegate setImage:""];
    }
};

TEST_F(LaunchingHostTest, AFileThatIsOpenedBeforeTheApplicationHasLaunchedIsChosenThen)
{
    [delegate application:NSApp openFile:@"/images/stick.img"];
    [delegate applicationDidFinishLaunching:nil];
    EXPECT_EQ(Text([Pane() pathLabel]), "/images/stick.img");
    EXPECT_TRUE(RunUntil([this] { return Text([Pane() titleLabel]) == "stick.img"; }));
}

TEST_F(HostWindowTest, WhatDoesNotOpenIsExplained)
{
    vx::DiskFacts damaged;
    damaged.status = static_cast<int32_t>(VolumeLibraryStatus::kContainerNotSupported);
    damaged.reason = "it is a packed archive";
    Choose("/x.zip", damaged);
    EXPECT_EQ(Message(), "This kind of disk image is not supported.");
    EXPECT_EQ(Details(), "Details:\nit is a packed archive");
    EXPECT_FALSE(CanUnlock());
}

}  // namespace
