#import "VolumePane.h"

#include "BackgroundWork.h"
#include "HostTexts.h"
#include "LineText.h"
#include "OpeningReason.h"
#include "ThreadChecks.h"
#include "VolumeLibraryStatus.h"
#include "VolumeOpeningOptions.h"
#include "VolumeTexts.h"
#import "WarningColor.h"

#include <algorithm>

struct VolumePaneState {
    vx::HostServices *services = nullptr;
    vx::BackgroundWork reading;
    std::string path;
    vx::DiskFacts facts;
    size_t volume = 0;  // of facts.volumes
    std::vector<vx::UnlockChoice> choices;
    size_t choice = 0;
    bool isBusy = false;  // reading or unlocking
};

namespace {

int RankOf(const vx::VolumeFacts &volume)
{
    if (vx::UnlockChoices(volume).empty())
        return 0;
    if (vx::MayBeLost(volume))
        return 1;
    return volume.kind == "encrypted" ? 3 : 2;
}

// The first that is encrypted, or else the first that opens, or may.
size_t BestVolume(const std::vector<vx::VolumeFacts> &volumes)
{
    const auto best =
        std::max_element(volumes.begin(), volumes.end(), [](const auto &left, const auto &right) {
            return RankOf(left) < RankOf(right);
        });
    return static_cast<size_t>(best - volumes.begin());
}

bool NeedsSecret(const vx::VolumeFacts &volume)
{
    return volume.kind == "encrypted" || vx::MayBeLost(volume);
}

bool IsDevice(const std::string &path)
{
    return path.compare(0, 5, "/dev/") == 0;
}

// What is said so far, and then this; either may be empty.
NSString *WithLine(NSString *said, NSString *line)
{
    if ([said length] == 0 || [line length] == 0)
        return [said stringByAppendingString:line];
    return [NSString stringWithFormat:@"%@\n%@", said, line];
}

NSString *ProgressText(const vx::ChannelProgress &progress)
{
    const bool isSearch = progress.step == static_cast<uint32_t>(VolumeOpeningStep::kSearching);
    const vx::Wording &wording = vx::UserWording();
    if (progress.total == 0)
        return vx::Localized(@"Unlocking…");
    if (isSearch)
        return vx::Localized("Searching for lost metadata: {1} of {2}",
                             {wording.size(progress.done), wording.size(progress.total)});
    return vx::Localized("Trying key {1} of {2}",
                         {std::to_string(progress.done + 1), std::to_string(progress.total)});
}

void SetItems(NSPopUpButton *popUp, const std::vector<std::string> &titles, size_t selected)
{
    [popUp removeAllItems];
    // By way of the menu: items of the same title would replace each other.
    for (const std::string &title : titles)
        [[popUp menu] addItemWithTitle:vx::TextOf(title) action:nullptr keyEquivalent:@""];
    if (selected < titles.size())
        [popUp selectItemAtIndex:static_cast<NSInteger>(selected)];
}

}  // namespace

@implementation VolumePane

@synthesize iconView = _iconView;
@synthesize titleLabel = _titleLabel;
@synthesize pathLabel = _pathLabel;
@synthesize stack = _stack;
@synthesize factsLabel = _factsLabel;
@synthesize volumeRow = _volumeRow;
@synthesize volumePopUp = _volumePopUp;
@synthesize kindRow = _kindRow;
@synthesize kindPopUp = _kindPopUp;
@synthesize fields = _fields;
@synthesize messageLabel = _messageLabel;
@synthesize detailLabel = _detailLabel;
@synthesize rightRow = _rightRow;
@synthesize progressBar = _progressBar;
@synthesize statusLabel = _statusLabel;
@synthesize cancelButton = _cancelButton;
@synthesize unlockButton = _unlockButton;
@synthesize delegate = _delegate;

- (id)init
{
    self = [super init];
    if (self != nil)
        _state = new VolumePaneState;
    return self;
}

- (void)dealloc
{
    AssertMainThread();
    delete _state;
    [_fields setDelegate:nil];
    [_iconView release];
    [_titleLabel release];
    [_pathLabel release];
    [_stack release];
    [_factsLabel release];
    [_volumeRow release];
    [_volumePopUp release];
    [_kindRow release];
    [_kindPopUp release];
    [_fields release];
    [_messageLabel release];
    [_detailLabel release];
    [_rightRow release];
    [_progressBar release];
    [_statusLabel release];
    [_cancelButton release];
    [_unlockButton release];
    [super dealloc];
}

- (void)awakeFromNib
{
    AssertMainThread();
    constexpr CGFloat kTitleSize = 15;
    [_titleLabel setFont:[NSFont boldSystemFontOfSize:kTitleSize]];
    [_messageLabel setTextColor:vx::WarningColor()];
    for (NSPopUpButton *popUp in @[ _volumePopUp, _kindPopUp ])
        [[popUp cell] setAltersStateOfSelectedItem:NO];
}

- (void)begin:(vx::HostServices *)services
{
    AssertMainThread();
    _state->services = services;
    [_fields setDelegate:self];
    [_rightRow begin:services->rights.get() delegate:self];
    [self showNothing:@""];
}

- (void)end
{
    AssertMainThread();
    _state->reading.Cancel();
    [_rightRow end];
    _state->services = nullptr;
}

// What is on view

- (void)showNothing:(NSString *)message
{
    AssertMainThread();
    _state->reading.Cancel();
    _state->path.clear();
    [self clear];
    [self setBusy:nil];
    [_iconView setImage:[NSImage imageNamed:@"VolumeHost"]];
    [_titleLabel setStringValue:vx::Localized(@"Volume Host")];
    [_pathLabel setStringValue:@""];
    [_pathLabel setToolTip:nil];
    [self say:message detail:""];
    [_factsLabel
        setStringValue:vx::Localized(
                           @"Choose a disk or an image at the left, or drop an image here.")];
    [_stack layOut];
}

- (BOOL)isReading
{
    AssertMainThread();
    return _state->reading.IsRunning();
}

- (void)showPath:(const std::string &)path
{
    AssertMainThread();
    _state->path = path;
    [self clear];
    [self showHeader];
    vx::FactsReading *facts = _state->services->facts.get();
    const auto work = [self, facts, volume = _state->path](const std::atomic<bool> &cancel) {
        return [self, found = facts->Read(volume, cancel)] { [self showFacts:found]; };
    };
    if (_state->reading.Start(work))
        [self setBusy:vx::Localized(@"Reading…")];
    else
        [self say:vx::Localized(@"There is not enough memory.") detail:""];
    [_stack layOut];
}

- (void)showHeader
{
    NSString *path = vx::TextOf(vx::LineText(_state->path));
    [_titleLabel setStringValue:[path lastPathComponent]];
    [_pathLabel setStringValue:path];
    [_pathLabel setToolTip:path];
    [_iconView setImage:[NSImage imageNamed:IsDevice(_state->path) ? @"disk" : @"image"]];
}

- (void)clear
{
    _state->facts = vx::DiskFacts();
    _state->choices.clear();
    [_fields hide];
    [_rightRow hide];
    [_volumeRow setHidden:YES];
    [_kindRow setHidden:YES];
    [_factsLabel setStringValue:@""];
    [self say:@"" detail:""];
}

- (void)showFacts:(const vx::DiskFacts &)facts
{
    AssertMainThread();
    _state->facts = facts;
    [self setBusy:nil];
    if (facts.status != 0 || facts.volumes.empty())
        return [self showUnreadable];
    std::vector<std::string> titles;
    for (const vx::VolumeFacts &volume : facts.volumes)
        titles.push_back(vx::VolumeTitle(volume, vx::UserWording()));
    _state->volume = BestVolume(facts.volumes);
    SetItems(_volumePopUp, titles, _state->volume);
    [_volumeRow setHidden:titles.size() < 2];
    [self showVolume];
}

- (void)showUnreadable
{
    const vx::DiskFacts &facts = _state->facts;
    const bool isForbidden =
        facts.status == static_cast<int32_t>(VolumeLibraryStatus::kPermissionDenied);
    NSString *reason = vx::Localized(vx::OpeningReason(facts.status, vx::SecretKind::kNone));
    if (facts.status == 0)
        reason = vx::Localized(@"Nothing that can be opened is on it.");
    if (isForbidden)
        [_rightRow showPath:_state->path];
    [self say:reason detail:isForbidden ? "" : facts.reason];
}

- (const vx::VolumeFacts &)volume
{
    return _state->facts.volumes[_state->volume];
}

- (void)showVolume
{
    const vx::VolumeFacts &volume = [self volume];
    _state->choices = vx::UnlockChoices(volume);
    _state->choice = 0;
    [_iconView
        setImage:[NSImage imageNamed:volume.kind == "encrypted" ? @"volume-locked" : @"volume"]];
    if (!volume.label.empty())
        [_titleLabel setStringValue:vx::TextOf(volume.label)];
    [_factsLabel setStringValue:vx::TextOf(vx::VolumeSummary(volume, vx::UserWording()))];
    std::vector<std::string> titles;
    for (const vx::UnlockChoice &choice : _state->choices)
        titles.push_back(vx::ChoiceTitle(choice, vx::UserWording()));
    SetItems(_kindPopUp, titles, 0);
    [_kindRow setHidden:!NeedsSecret(volume) || titles.empty()];
    [self showWarnings];
    [self showChoice];
}

- (void)showWarnings
{
    const vx::VolumeFacts &volume = [self volume];
    [self say:vx::TextOf(vx::ClosedReason(volume, vx::UserWording()))
        detail:vx::ClosedDetail(volume)];
    for (const std::string &warning : _state->facts.warnings)
        [self add:@"" detail:warning];
}

- (void)showChoice
{
    if (_state->choices.empty())
        [_fields hide];
    else
        [_fields showChoice:_state->choices[_state->choice]];
    const bool isOpen = !NeedsSecret([self volume]);
    [_unlockButton setTitle:vx::Localized(isOpen ? @"Open" : @"Unlock")];
    [_stack layOut];
    [self updateButtons];
    [_fields selectText];
}

// What the user does

- (IBAction)chooseVolume:(id)sender
{
    AssertMainThread();
    _state->volume = static_cast<size_t>([_volumePopUp indexOfSelectedItem]);
    [self showVolume];
}

- (IBAction)chooseKind:(id)sender
{
    AssertMainThread();
    _state->choice = static_cast<size_t>([_kindPopUp indexOfSelectedItem]);
    [self say:@"" detail:""];
    [self showChoice];
}

- (void)secretFieldsDidChange:(SecretFields *)fields
{
    AssertMainThread();
    [_stack layOut];
    [self updateButtons];
}

- (IBAction)unlock:(id)sender
{
    AssertMainThread();
    if (![self canUnlock])
        return;
    vx::TypedSecret secret;
    if (![_fields copySecretTo:&secret])
        return [self say:vx::Localized(@"This is too long.") detail:""];
    [_delegate volumePane:self
                   unlock:[self volume].address
                     kind:vx::UnlockKindOf(_state->choices[_state->choice].kind)
                   secret:&secret];
}

- (IBAction)cancel:(id)sender
{
    AssertMainThread();
    [_delegate volumePaneDidCancel:self];
}

- (void)rightRow:(RightRow *)row wasAnswered:(const vx::RightAnswer &)answer
{
    AssertMainThread();
    if (answer.isGranted)
        return [self showPath:std::string(_state->path)];
    [self say:vx::Localized(@"The permission was not given.") detail:answer.text];
}

// A session

- (void)showTrial
{
    AssertMainThread();
    [self say:@"" detail:""];
    [self setBusy:vx::Localized(@"Unlocking…")];
    [_cancelButton setHidden:NO];
}

- (void)showProgress:(const vx::ChannelProgress &)progress
{
    AssertMainThread();
    if (_state->isBusy)
        [_statusLabel setStringValue:ProgressText(progress)];
}

- (void)showRefusal:(const vx::TrialResult &)result
{
    AssertMainThread();
    if (_state->choices.empty())
        return;
    const vx::SecretKind kind = _state->choices[_state->choice].kind;
    NSString *reason = vx::Localized(vx::OpeningReason(result.status, kind));
    // Of a wrong secret: the protectors it was tried on, and what else opens the volume.
    if (result.status == static_cast<int32_t>(VolumeLibraryStatus::kPermissionDenied))
        [_rightRow showPath:_state->path];
    [self say:reason detail:result.reason];
}

- (void)showEnd:(NSString *)message detail:(const std::string &)detail
{
    AssertMainThread();
    [self setBusy:nil];
    if (message != nil)
        [self say:message detail:detail];
    [_stack layOut];
    [_fields selectText];
}

- (void)say:(NSString *)sentence detail:(const std::string &)detail
{
    AssertMainThread();
    [_messageLabel setStringValue:@""];
    [_detailLabel setStringValue:@""];
    [self add:sentence detail:detail];
}

- (void)add:(NSString *)sentence detail:(const std::string &)detail
{
    AssertMainThread();
    [_messageLabel setStringValue:WithLine([_messageLabel stringValue], sentence)];
    NSString *details = [_detailLabel stringValue];
    if (!detail.empty() && [details length] == 0)
        details = vx::Localized(@"Details:");
    [_detailLabel setStringValue:WithLine(details, vx::TextOf(detail))];
    [_stack layOut];
}

// nil: nothing is going on.
- (void)setBusy:(NSString *)status
{
    _state->isBusy = status != nil;
    [_statusLabel setStringValue:status == nil ? @"" : status];
    [_progressBar setHidden:status == nil];
    if (status == nil)
        [_progressBar stopAnimation:nil];
    else
        [_progressBar startAnimation:nil];
    [_cancelButton setHidden:YES];
    [_fields setEnabled:status == nil];
    [_kindPopUp setEnabled:status == nil];
    [_volumePopUp setEnabled:status == nil];
    [self updateButtons];
}

- (BOOL)canUnlock
{
    return !_state->isBusy && !_state->choices.empty() && [_fields hasSecret];
}

- (void)updateButtons
{
    [_unlockButton setEnabled:[self canUnlock]];
}

@end
