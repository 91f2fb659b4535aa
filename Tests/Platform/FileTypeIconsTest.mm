#import <AppKit/AppKit.h>

#include <gtest/gtest.h>

#include <fstream>
#include <string>

namespace {

class FileTypeIcons : public testing::Test {
protected:
    ~FileTypeIcons() override { [m_pool release]; }

    static NSImage *Icon(NSString *type)
    {
        return [[NSWorkspace sharedWorkspace] iconForFileType:type];
    }

private:
    NSAutoreleasePool *m_pool = [NSAutoreleasePool new];
};

}  // namespace

TEST_F(FileTypeIcons, AnEmptyTypeHasTheGenericIcon)
{
    ASSERT_NE(Icon(@""), nil);
    EXPECT_EQ(Icon(@""), Icon(@"nosuchtype"));
    EXPECT_EQ(Icon(nil), Icon(@""));
}

TEST_F(FileTypeIcons, EveryKindHasAnIconOfItsOwn)
{
    NSMutableSet *seen = [NSMutableSet set];
    NSArray *types = @[
        @"", @"docx", @"txt", @"jpg", @"mp3", @"mkv", @"zip", @"exe", @"pdf", @"xlsx", @"pptx",
        @"cpp"
    ];
    for (NSString *type in types)
        [seen addObject:[NSValue valueWithNonretainedObject:Icon(type)]];
    EXPECT_EQ([seen count], [types count]);
}

TEST_F(FileTypeIcons, OneImageServesAllTypesOfAKind)
{
    EXPECT_EQ(Icon(@"jpg"), Icon(@"png"));
    EXPECT_EQ(Icon(@"jpg"), Icon(@"JPG"));
    EXPECT_NE(Icon(@"jpg"), Icon(@"mp3"));
}

TEST_F(FileTypeIcons, AnIconIsSixteenPointsAndHasTheLargerDrawingsInside)
{
    EXPECT_EQ([Icon(@"pdf") size].width, 16);
    EXPECT_EQ([Icon(@"pdf") size].height, 16);
    NSMutableSet *pixels = [NSMutableSet set];
    for (NSImageRep *representation in [Icon(@"pdf") representations])
        [pixels addObject:[NSNumber numberWithInteger:[representation pixelsWide]]];
    EXPECT_TRUE(([pixels isEqual:[NSSet setWithObjects:@16, @32, @64, nil]]));
}

TEST_F(FileTypeIcons, TheProgramsNamedPicturesHaveADoubleSize)
{
    for (NSString *name in @[ @"folder", @"warning", @"success" ]) {
        NSImage *image = [NSImage imageNamed:name];
        ASSERT_NE(image, nil) << [name UTF8String];
        NSInteger widest = 0;
        for (NSImageRep *representation in [image representations])
            widest = MAX(widest, [representation pixelsWide]);
        EXPECT_EQ(widest, 2 * [image size].width) << [name UTF8String];
    }
    EXPECT_EQ([[NSImage imageNamed:@"folder"] size].width, 16);
}

// The formats that the library leaves to a second library cost more than the rest of the start.
TEST_F(FileTypeIcons, LookingForAPictureThatIsMissingLoadsNoForeignDecoders)
{
    EXPECT_EQ([NSImage imageNamed:@"no picture has this name"], nil);
    std::ifstream mapped("/proc/self/maps");
    ASSERT_TRUE(mapped.is_open());
    for (std::string line; std::getline(mapped, line);)
        EXPECT_EQ(line.find("/coders/"), std::string::npos) << line;
}

TEST_F(FileTypeIcons, ThePicturesThatTheLibraryDecodesItselfAreStillRead)
{
    NSArray *types = [NSImage imageUnfilteredFileTypes];
    for (NSString *type in @[ @"png", @"tiff", @"jpg", @"gif" ])
        EXPECT_TRUE([types containsObject:type]) << [type UTF8String];
    EXPECT_LT([types count], 20U);
}
