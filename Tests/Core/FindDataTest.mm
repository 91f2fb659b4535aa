#import "CoreTest.h"
#import "Utf16Text.h"

#include <limits>

namespace {

std::string SizeText(int64_t size)
{
    Z5FindData *entry = [[[Z5FindData alloc] init] autorelease];
    [entry setFileSize:size];
    EXPECT_EQ([entry nFileSize], size);
    return Utf8([entry strFileSize]);
}

std::string Extension(NSString *name)
{
    return Utf8([Z5FindData fileExtention:name]);
}

std::vector<std::u16string> NamesOf(const std::vector<std::u16string> &names)
{
    std::vector<std::u16string> decoded;
    for (const std::u16string &name : names)
        decoded.push_back(Utf16Text([EntryOf(RecordOf(name)) strFileName]));
    return decoded;
}

}  // namespace

// An entry that records its deallocation.
@interface NotedEntry : Z5FindData {
    BOOL *_isGone;
}
- (id)initWithFlag:(BOOL *)isGone;
@end

@implementation NotedEntry
- (id)initWithFlag:(BOOL *)isGone
{
    self = [super init];
    _isGone = isGone;
    return self;
}
- (void)dealloc
{
    *_isGone = YES;
    [super dealloc];
}
@end

TEST(FindData, ANullRecordGivesNil)
{
    EXPECT_EQ([[Z5FindData alloc] initWithFindData:nullptr], nil);
}

TEST(FindData, AnEntryTakesEverythingFromItsRecord)
{
    Z5FindData *entry = EntryOf(RecordOf(u"Übersicht 報告.txt", 0x20, 1536));
    EXPECT_EQ(Utf8([entry strFileName]), "Übersicht 報告.txt");
    EXPECT_EQ(Utf8([entry strFileSize]), "1.50 KB");
    EXPECT_EQ([entry nFileSize], 1536);
    EXPECT_FALSE([entry bDirectory]);
    EXPECT_EQ(Utf8([entry strModifiedDateTime]),
              Utf8([Z5FindData FormatFileTimeToString:vx::kScriptedTime]));
    EXPECT_EQ([entry parentNode], nil);
    EXPECT_EQ([entry subFileData], nil);
}

TEST(FindData, ARecordWhoseNameIsEmptyGivesAnEntryWithAnEmptyName)
{
    Z5FindData *entry = EntryOf(RecordOf(u""));
    ASSERT_NE(entry, nil);
    EXPECT_EQ(Utf8([entry strFileName]), "");
}

TEST(FindData, ARecordWithAttributes0x10GivesAFolderEntry)
{
    EXPECT_TRUE([EntryOf(RecordOf(u"a", 0x10)) bDirectory]);
}

TEST(FindData, ARecordWithAttributes0x30AlsoGivesAFolder)
{
    EXPECT_TRUE([EntryOf(RecordOf(u"a", 0x30)) bDirectory]);
    EXPECT_TRUE([EntryOf(RecordOf(u"a", 0xffffffff)) bDirectory]);
}

TEST(FindData, ARecordWithAttributes0x20DoesNotGiveAFolder)
{
    EXPECT_FALSE([EntryOf(RecordOf(u"a", 0x20)) bDirectory]);
    EXPECT_FALSE([EntryOf(RecordOf(u"a", 0)) bDirectory]);
    EXPECT_FALSE([EntryOf(RecordOf(u"a", 0xffffffef)) bDirectory]);
}

TEST(FindData, AFolderGetsASizeTextAsWell)
{
    EXPECT_EQ(Utf8([EntryOf(RecordOf(u"a", 0x10, 4096)) strFileSize]), "4.00 KB");
}

TEST(FindData, ASizeOf4GiBOrMoreIsReportedThroughTheHighHalf)
{
    EXPECT_EQ([EntryOf(RecordOf(u"a", 0x20, uint64_t(1) << 32)) nFileSize], int64_t(1) << 32);
    EXPECT_EQ([EntryOf(RecordOf(u"a", 0x20, 0x123456789abcdef0)) nFileSize], 0x123456789abcdef0);
    EXPECT_EQ([EntryOf(RecordOf(u"a", 0x20, 0xffffffff)) nFileSize], 0xffffffff);
}

TEST(FindData, AnEntryWhoseNameFillsTheRecordUpToItsLastUnitKeepsAll539Units)
{
    const VolumeFindData record = RecordOf(std::u16string(539, u'n'));
    EXPECT_EQ(record.name[539], u'\0');
    EXPECT_EQ(Utf8([EntryOf(record) strFileName]), std::string(539, 'n'));
}

TEST(FindData, NothingAfterTheFirstZeroUnitBelongsToTheName)
{
    VolumeFindData record = RecordOf(u"a long name of before");
    record.name[3] = u'\0';
    EXPECT_EQ(Utf8([EntryOf(record) strFileName]), "a l");
}

TEST(FindData, AUnitThatLooksLikeAByteOrderMarkBelongsToTheName)
{
    const std::vector<std::u16string> names = {u"\ufeffab",      u"\ufffeab", u"a\ufeffb",
                                               u"\ufeff",        u"\ufffe",   u"\ufeff\ufeff",
                                               u"\ufeff日本.txt"};
    EXPECT_EQ(NamesOf(names), names);
}

TEST(FindData, ANameWithASurrogateThatHasNoPartnerIsNil)
{
    EXPECT_EQ([EntryOf(RecordOf(std::u16string{u'a', 0xd800})) strFileName], nil);
    EXPECT_EQ([EntryOf(RecordOf(std::u16string{0xfeff, 0xdc00})) strFileName], nil);
}

TEST(FindData, ANegativeSizeShowsAsANegativeCountOfByte)
{
    Z5FindData *entry = EntryOf(RecordOf(u"a", 0x20, ~uint64_t(0)));
    EXPECT_EQ([entry nFileSize], -1);
    EXPECT_EQ(Utf8([entry strFileSize]), "-1 byte");
    EXPECT_EQ(SizeText(std::numeric_limits<int64_t>::min()), "-9223372036854775808 byte");
}

TEST(FindData, SizesBelow1024AreCountedInByte)
{
    EXPECT_EQ(SizeText(0), "0 byte");
    EXPECT_EQ(SizeText(1), "1 byte");
    EXPECT_EQ(SizeText(1023), "1023 byte");
}

TEST(FindData, SizesFrom1024AreShownInKB)
{
    EXPECT_EQ(SizeText(1024), "1.00 KB");
    EXPECT_EQ(SizeText(1025), "1.00 KB");
    EXPECT_EQ(SizeText(1536), "1.50 KB");
    EXPECT_EQ(SizeText(1048575), "1024.00 KB");
}

TEST(FindData, SizesFrom2To20AreShownInMB)
{
    EXPECT_EQ(SizeText(1048576), "1.00 MB");
    EXPECT_EQ(SizeText(123456789), "117.74 MB");
    EXPECT_EQ(SizeText(1073741823), "1024.00 MB");
}

TEST(FindData, SizesFrom2To30AreShownInGB)
{
    EXPECT_EQ(SizeText(1073741824), "1.00 GB");
    EXPECT_EQ(SizeText(int64_t(5) << 30), "5.00 GB");
    EXPECT_EQ(SizeText(int64_t(1) << 42), "4096.00 GB");
    EXPECT_EQ(SizeText(std::numeric_limits<int64_t>::max()), "8589934592.00 GB");
}

// 16777217 + 2^30 is no float; in double precision the text would be another.
TEST(FindData, TheSizeIsRoundedToSinglePrecisionOnce)
{
    const int64_t size = 10737418240 * 1000 - 5368710;
    const float once = static_cast<float>(size);
    char expected[64];
    snprintf(expected, sizeof(expected), "%0.2f GB", double(once) / 1073741824.0);
    char precise[64];
    snprintf(precise, sizeof(precise), "%0.2f GB", double(size) / 1073741824.0);
    ASSERT_STRNE(expected, precise);
    EXPECT_EQ(SizeText(size), expected);
}

TEST(FindData, ANewSizeReplacesTheText)
{
    Z5FindData *entry = EntryOf(RecordOf(u"a", 0x20, 5));
    [entry setFileSize:2048];
    EXPECT_EQ(Utf8([entry strFileSize]), "2.00 KB");
}

TEST(FindData, ASizeTextThatSomebodyHoldsOutlivesTheNextSize)
{
    Z5FindData *entry = EntryOf(RecordOf(u"a", 0x20, 5));
    NSString *before = [entry strFileSize];
    EXPECT_GE([before retainCount], 2u);
    [entry setFileSize:2048];
    EXPECT_EQ(Utf8(before), "5 byte");
}

TEST(FindData, TheSuffixIsWhatFollowsTheLastDot)
{
    EXPECT_EQ(Extension(@"archive.tar.gz"), "gz");
    EXPECT_EQ(Extension(@".profile"), "profile");
    EXPECT_EQ(Extension(@"A.TxT "), "TxT ");
    EXPECT_EQ(Extension(@"日本.文書"), "文書");
}

TEST(FindData, ASuffixKeepsAUnitThatLooksLikeAByteOrderMark)
{
    NSString *name = [EntryOf(RecordOf(u"a.\ufefftxt")) strFileName];
    EXPECT_EQ(Extension(name), "\ufefftxt");
}

TEST(FindData, ANameThatEndsWithADotGivesAnEmptySuffix)
{
    EXPECT_EQ(Extension(@"name."), "");
    EXPECT_EQ(Extension(@"a.b."), "");
}

TEST(FindData, ANameWithoutAnyDotGivesAnEmptySuffixToo)
{
    EXPECT_EQ(Extension(@"Makefile"), "");
    EXPECT_EQ(Extension(@""), "");
}

TEST(FindData, ANilNameGivesAnEmptySuffix)
{
    EXPECT_EQ(Extension(nil), "");
}

TEST(FindData, SetParentNodeKeepsAStrongReference)
{
    Z5FindData *parent = [[Z5FindData alloc] init];
    Z5FindData *entry = [[Z5FindData alloc] init];
    [entry setParentNode:parent];
    EXPECT_EQ([entry parentNode], parent);
    [parent release];
    EXPECT_EQ([[entry parentNode] subFileData], nil);
    [entry release];
}

TEST(FindData, SetParentNodeWithTheEntryItselfLeavesThePreviousParentInPlace)
{
    Z5FindData *parent = [[[Z5FindData alloc] init] autorelease];
    Z5FindData *entry = [[[Z5FindData alloc] init] autorelease];
    [entry setParentNode:parent];
    [entry setParentNode:entry];
    EXPECT_EQ([entry parentNode], parent);
}

TEST(FindData, SetParentNodeWithTheParentItHasAlreadyKeepsThatParentAlive)
{
    BOOL isGone = NO;
    NotedEntry *parent = [[NotedEntry alloc] initWithFlag:&isGone];
    Z5FindData *entry = [[Z5FindData alloc] init];
    [entry setParentNode:parent];
    [parent release];
    [entry setParentNode:parent];
    EXPECT_FALSE(isGone);
    [entry release];
    EXPECT_TRUE(isGone);
}

TEST(FindData, AParentThatSomebodyHoldsOutlivesItsReplacement)
{
    BOOL isGone = NO;
    @autoreleasepool {
        NotedEntry *parent = [[NotedEntry alloc] initWithFlag:&isGone];
        Z5FindData *entry = [[[Z5FindData alloc] init] autorelease];
        [entry setParentNode:parent];
        [parent release];
        EXPECT_NE([entry parentNode], nil);
        [entry setParentNode:nil];
        EXPECT_FALSE(isGone);
    }
    EXPECT_TRUE(isGone);
}

TEST(FindData, SetParentNodeReplacesAParentAndClearsItWithNil)
{
    Z5FindData *first = [[[Z5FindData alloc] init] autorelease];
    Z5FindData *second = [[[Z5FindData alloc] init] autorelease];
    Z5FindData *entry = [[[Z5FindData alloc] init] autorelease];
    [entry setParentNode:first];
    [entry setParentNode:second];
    EXPECT_EQ([entry parentNode], second);
    [entry setParentNode:nil];
    EXPECT_EQ([entry parentNode], nil);
}

TEST(FindData, TheReadWritePropertiesKeepWhatTheyAreGiven)
{
    Z5FindData *entry = [[[Z5FindData alloc] init] autorelease];
    NSMutableArray *children = [NSMutableArray array];
    [entry setStrFileName:@"n"];
    [entry setStrModifiedDateTime:@"d"];
    [entry setBDirectory:YES];
    [entry setSubFileData:children];
    EXPECT_EQ(Utf8([entry strFileName]), "n");
    EXPECT_EQ(Utf8([entry strModifiedDateTime]), "d");
    EXPECT_TRUE([entry bDirectory]);
    EXPECT_EQ([entry subFileData], children);
}

TEST(Utf16Length, CountsTheUnitsBeforeTheFirstZero)
{
    EXPECT_EQ(utf16Length(u"abc"), 3u);
    EXPECT_EQ(utf16Length(u"\U0001F600"), 2u);
    EXPECT_EQ(utf16Length(u"ab\0cd"), 2u);
}

TEST(Utf16Length, IsZeroForANullPointerAndForAnEmptyText)
{
    EXPECT_EQ(utf16Length(nullptr), 0u);
    EXPECT_EQ(utf16Length(u""), 0u);
}
