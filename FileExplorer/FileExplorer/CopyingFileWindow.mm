#import "CopyingFileWindow.h"

#include <CoreGraphics/CoreGraphics.h>

#include <ctime>

#import "ModalSession.h"
#import "ProgressText.h"
#include "ThreadChecks.h"

namespace {

constexpr int kCompletePercent = 99;            // more than this ends the export
constexpr NSTimeInterval kRetryInterval = 0.1;  // seconds

}  // namespace

@implementation CopyingFileWindow

@synthesize fileInfoLable = _fileInfoLable;
@synthesize progressBar = _progressBar;
@synthesize fileImage = _fileImage;
@synthesize infoLabel = _copyInfoLabel;

- (id)init
{
    AssertMainThread();
    self = [super initWithWindowNibName:@"copyingFileWindow"];
    if (self == nil)
        return nil;
    _bContinued = true;
    _iCurrentPercent = nil;
    _state = kExportStateRunning;
    _nRtnCode = 0;
    return self;
}

- (void)dealloc
{
    AssertMainThread();
    [_fileInfoLable release];
    [_progressBar release];
    [_fileImage release];
    [_copyInfoLabel release];
    [_strCurrentFile release];
    [_iCurrentPercent release];
    [_totalSize release];
    [super dealloc];
}

- (void)awakeFromNib
{
    AssertMainThread();
    // Not every platform's base class has this step.
    if ([NSWindowController instancesRespondToSelector:_cmd])
        [super awakeFromNib];
    [[self window] setBackgroundColor:[NSColor whiteColor]];
    [_fileInfoLable setStringValue:@"Initializing ... "];
    [[self window] setLevel:CGWindowLevelForKey(kCGStatusWindowLevelKey)];
}

- (void)windowDidLoad
{
    AssertMainThread();
    [super windowDidLoad];
    [_progressBar setDoubleValue:0.0];
    [_progressBar setIndeterminate:NO];
    [_progressBar setUsesThreadedAnimation:YES];
    [_progressBar startAnimation:self];
    // Not every platform takes it from the interface file.
    [_fileImage setImageScaling:NSImageScaleProportionallyUpOrDown];
}

- (IBAction)cancelClicked:(id)sender
{
    AssertMainThread();
    _bContinued = false;
    [self close];
}

- (void)UpdateProgress:(NSNumber *)percent
{
    AssertWorkerThread();
    if (percent == nil)
        return;
    [percent retain];
    [_iCurrentPercent release];
    _iCurrentPercent = percent;
    [self performSelectorOnMainThread:@selector(updateProgressOnMain:)
                           withObject:nil
                        waitUntilDone:YES
                                modes:ModesServedWhileModal()];
}

- (void)UpdateInformation:(NSString *)path
{
    AssertWorkerThread();
    [self performSelectorOnMainThread:@selector(updateInfoOnMain:)
                           withObject:path
                        waitUntilDone:YES
                                modes:ModesServedWhileModal()];
}

- (void)UpdateTotalSize:(NSNumber *)total
{
    AssertWorkerThread();
    if (total == nil)
        return;
    [total retain];
    [_totalSize release];
    _totalSize = total;
}

- (BOOL)Continued
{
    return _bContinued;
}

- (void)updateInfoOnMain:(NSString *)path
{
    AssertMainThread();
    if ([path length] == 0 || [path isEqualToString:_strCurrentFile])
        return;
    [_strCurrentFile release];
    _strCurrentFile = [path copy];
    _startTime = time(nullptr);

    NSString *type = [path pathExtension];
    [_fileImage setImage:[[NSWorkspace sharedWorkspace] iconForFileType:type]];
    [_fileInfoLable setStringValue:FileLineText(path)];
}

- (void)updateProgressOnMain:(id)unused
{
    AssertMainThread();
    const double percent = [_iCurrentPercent doubleValue];
    [_progressBar setDoubleValue:percent];
    const int64_t elapsed = time(nullptr) - _startTime;
    [_copyInfoLabel setStringValue:ProgressLineText(percent, elapsed, [_totalSize doubleValue])];

    if ([_iCurrentPercent intValue] > kCompletePercent || !_bContinued)
        [self finish];
}

// A message box may run a session above this window's, which can be stopped only after that one.
// Reports that arrive after this window's session has ended come here as well and must not end the
// session of a later export.
- (void)finish
{
    AssertMainThread();
    NSWindow *modal = [NSApp modalWindow];
    if (modal != nil && modal != [self window]) {
        [NSObject cancelPreviousPerformRequestsWithTarget:self selector:_cmd object:nil];
        [self performSelector:_cmd
                   withObject:nil
                   afterDelay:kRetryInterval
                      inModes:ModesServedWhileModal()];
        return;
    }
    // Some platforms keep the code of the first stop and some that of the last, so this stop and
    // the one of the closing window pass the same code.
    StopModalSession([self window], _nRtnCode);
    [self close];
}

- (int32_t)GetState
{
    return _state;
}

- (void)SetState:(int32_t)state
{
    _state = state;
}

- (void)windowWillClose:(NSNotification *)notification
{
    AssertMainThread();
    StopModalSession([self window], _nRtnCode);
}

@end
