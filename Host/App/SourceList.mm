#import "SourceList.h"

#include "BackgroundWork.h"
#include "HostTexts.h"
#include "RecentVolumes.h"
#import "SourceCell.h"
#include "SourceRows.h"
#include "ThreadChecks.h"

#include <algorithm>

namespace {

NSString *const kRecentImages = @"RecentImages";
constexpr CGFloat kIndentation = 16;  // points, of a volume below its disk

vx::RecentVolumes StoredImages()
{
    std::vector<std::string> paths;
    NSUserDefaults *defaults = [NSUserDefaults standardUserDefaults];
    [defaults synchronize];
    for (id path in [defaults arrayForKey:kRecentImages])
        paths.push_back(vx::PathOf(path));
    return vx::RecentVolumes(paths);
}

void StoreImages(const vx::RecentVolumes &images)
{
    NSMutableArray *paths = [NSMutableArray array];
    for (const std::string &path : images.Paths())
        [paths addObject:vx::StoredPath(path)];
    NSUserDefaults *defaults = [NSUserDefaults standardUserDefaults];
    [defaults setObject:paths forKey:kRecentImages];
    [defaults synchronize];
}

// One that is not listed, or not yet, is no image to be remembered.
bool IsDevice(const std::string &path)
{
    return path.compare(0, 5, "/dev/") == 0;
}

bool Contains(const std::vector<std::string> &paths, const std::string &path)
{
    return std::find(paths.begin(), paths.end(), path) != paths.end();
}

NSImage *IconOf(const vx::SourceRow &row)
{
    switch (row.kind) {
    case vx::SourceRowKind::kDisk:
        return [NSImage imageNamed:row.isEncrypted ? @"disk-locked" : @"disk"];
    case vx::SourceRowKind::kVolume:
        return [NSImage imageNamed:row.isEncrypted ? @"volume-locked" : @"volume"];
    case vx::SourceRowKind::kImage:
        return [NSImage imageNamed:@"image"];
    case vx::SourceRowKind::kHeading:
    case vx::SourceRowKind::kNote:
        break;
    }
    return nil;
}

}  // namespace

struct SourceListState {
    vx::DiskListing *disks = nullptr;
    vx::BackgroundWork listing;
    bool isOutdated = false;    // a disk came or went while they were listed
    bool wasNotListed = false;  // for want of a thread
    std::vector<vx::AttachedVolume> attached;
    vx::RecentVolumes images = StoredImages();
    std::vector<std::string> missing;  // of the images, when it was last looked
    std::vector<vx::SourceRow> rows;
    std::string chosen;
    // Rows are being put up: what the table says about its selection is not the user's.
    bool isFilling = false;
};

@implementation SourceList

@synthesize tableView = _tableView;
@synthesize delegate = _delegate;

- (id)init
{
    self = [super init];
    if (self != nil)
        _state = new SourceListState;
    return self;
}

- (void)dealloc
{
    AssertMainThread();
    [_tableView setDataSource:nil];
    [_tableView setDelegate:nil];
    [_tableView release];
    delete _state;
    [super dealloc];
}

- (void)awakeFromNib
{
    AssertMainThread();
    [_tableView setDataSource:(id)self];
    [_tableView setDelegate:(id)self];
    [[[_tableView tableColumns] objectAtIndex:0]
        setDataCell:[[[SourceCell alloc] initTextCell:@""] autorelease]];
    [_tableView setHeaderView:nil];
    [_tableView setCornerView:nil];
    [self fill];
}

- (void)begin:(vx::DiskListing *)disks
{
    AssertMainThread();
    _state->disks = disks;
    // The block is the watch's, which ends before this object does.
    disks->Watch([self] { vx::CallOnMain([self] { [self list]; }); });
    [self list];
}

- (void)end
{
    AssertMainThread();
    if (_state->disks != nullptr)
        _state->disks->Watch(nullptr);
    _state->disks = nullptr;
    _state->listing.Cancel();
}

- (BOOL)isListing
{
    AssertMainThread();
    return _state->listing.IsRunning();
}

// One listing at a time: a disk or a server that does not answer holds up one thread, not one for
// each disk that comes or goes meanwhile.
- (void)list
{
    AssertMainThread();
    vx::DiskListing *disks = _state->disks;
    if (disks == nullptr)
        return;
    _state->isOutdated = _state->listing.IsRunning();
    if (_state->isOutdated)
        return;
    // Both may take as long as a slow disk or a lost server.
    const auto work = [self, disks, images = _state->images](const std::atomic<bool> &) {
        return [self, attached = disks->List(), looked = images.Look()] {
            [self showAttached:attached images:looked];
            if (_state->isOutdated)
                [self list];
        };
    };
    _state->wasNotListed = !_state->listing.Start(work);
    if (_state->wasNotListed)
        [self fill];
}

- (void)showAttached:(const std::vector<vx::AttachedVolume> &)attached
              images:(const std::vector<vx::RecentVolume> &)images
{
    AssertMainThread();
    const bool wasListed = vx::RowOfPath(_state->chosen, _state->rows).has_value();
    _state->attached = attached;
    _state->missing.clear();
    for (const vx::RecentVolume &image : images) {
        if (image.isMissing)
            _state->missing.push_back(image.path);
    }
    [self fill];
    if (!wasListed || vx::RowOfPath(_state->chosen, _state->rows))
        return;
    const std::string lost = _state->chosen;
    _state->chosen.clear();
    [_delegate sourceList:self didLose:lost];
}

- (void)fill
{
    _state->isFilling = true;
    std::vector<vx::RecentVolume> images;
    for (const std::string &path : _state->images.Paths())
        images.push_back({path, Contains(_state->missing, path)});
    const vx::Wording &wording = vx::UserWording();
    _state->rows = vx::SourceRows(_state->attached, images, wording);
    if (_state->wasNotListed)
        _state->rows.insert(_state->rows.begin(),
                            vx::NoteRow("There is not enough memory.", wording));
    [_tableView reloadData];
    const auto row = vx::RowOfPath(_state->chosen, _state->rows);
    if (row)
        [_tableView selectRowIndexes:[NSIndexSet indexSetWithIndex:*row] byExtendingSelection:NO];
    else
        [_tableView deselectAll:nil];
    _state->isFilling = false;
}

- (void)choosePath:(const std::string &)path
{
    AssertMainThread();
    _state->chosen = path;
    [self fill];
    const NSInteger row = [_tableView selectedRow];
    if (row >= 0)
        [_tableView scrollRowToVisible:row];
    [_delegate sourceList:self didChoose:path];
}

- (BOOL)isAttached:(const std::string &)path
{
    return std::any_of(_state->attached.begin(), _state->attached.end(),
                       [&](const vx::AttachedVolume &volume) { return volume.path == path; });
}

- (void)rememberChosen
{
    AssertMainThread();
    if (_state->chosen.empty() || IsDevice(_state->chosen) || [self isAttached:_state->chosen])
        return;
    // Another window of this program may have stored others since.
    _state->images = StoredImages();
    _state->images.Add(_state->chosen);
    StoreImages(_state->images);
    [self fill];
}

- (const vx::SourceRow *)rowAt:(NSInteger)index
{
    const size_t row = static_cast<size_t>(index);
    return index >= 0 && row < _state->rows.size() ? &_state->rows[row] : nullptr;
}

- (NSInteger)numberOfRowsInTableView:(NSTableView *)table
{
    return static_cast<NSInteger>(_state->rows.size());
}

- (id)tableView:(NSTableView *)table
    objectValueForTableColumn:(NSTableColumn *)column
                          row:(NSInteger)index
{
    const vx::SourceRow *row = [self rowAt:index];
    return row == nullptr ? @"" : vx::TextOf(row->title);
}

- (void)tableView:(NSTableView *)table
    willDisplayCell:(id)cell
     forTableColumn:(NSTableColumn *)column
                row:(NSInteger)index
{
    const vx::SourceRow *row = [self rowAt:index];
    if (row == nullptr)
        return;
    const bool isHeading = row->kind == vx::SourceRowKind::kHeading;
    [cell setHeading:isHeading];
    [cell setPale:row->isMissing];
    [cell setIcon:IconOf(*row)
             detail:row->detail.empty() ? nil : vx::TextOf(row->detail)
        indentation:row->kind == vx::SourceRowKind::kVolume ? kIndentation : 0];
}

- (BOOL)tableView:(NSTableView *)table shouldSelectRow:(NSInteger)index
{
    const vx::SourceRow *row = [self rowAt:index];
    return row != nullptr && !row->path.empty();
}

- (void)tableViewSelectionDidChange:(NSNotification *)notification
{
    AssertMainThread();
    if (_state->isFilling)
        return;
    const vx::SourceRow *row = [self rowAt:[_tableView selectedRow]];
    const std::string path = row == nullptr ? "" : row->path;
    if (path == _state->chosen)
        return;
    _state->chosen = path;
    [_delegate sourceList:self didChoose:path];
}

@end
