#import "RightRow.h"

#include "BackgroundWork.h"
#include "HostTexts.h"
#include "ThreadChecks.h"

struct RightRowState {
    vx::RightAsking *rights = nullptr;
    std::string path;
    vx::BackgroundWork asking;
};

@implementation RightRow

@synthesize askRow = _askRow;
@synthesize askButton = _askButton;
@synthesize commandRow = _commandRow;
@synthesize commandCaption = _commandCaption;
@synthesize commandField = _commandField;
@synthesize commandButton = _commandButton;

- (id)init
{
    self = [super init];
    if (self != nil)
        _state = new RightRowState;
    return self;
}

- (void)dealloc
{
    AssertMainThread();
    [_askRow release];
    [_askButton release];
    [_commandRow release];
    [_commandCaption release];
    [_commandField release];
    [_commandButton release];
    delete _state;
    [super dealloc];
}

- (void)awakeFromNib
{
    [self hide];
}

- (void)begin:(vx::RightAsking *)rights delegate:(id<RightRowDelegate>)delegate
{
    AssertMainThread();
    _state->rights = rights;
    _delegate = delegate;
}

- (void)end
{
    AssertMainThread();
    _state->asking.Cancel();
    _state->rights = nullptr;
}

- (void)showPath:(const std::string &)path
{
    AssertMainThread();
    _state->path = path;
    NSString *command = vx::TextOf(_state->rights->Command(path));
    [_commandField setStringValue:command];
    [_commandField setToolTip:command];
    [_commandRow setHidden:[command length] == 0];
    [_askButton setEnabled:YES];
    [self showQuestion:_state->rights->CanAsk(path)];
}

// The command is the other way then, or the only one.
- (void)showQuestion:(BOOL)canBeAsked
{
    [_askRow setHidden:!canBeAsked];
    [_commandCaption setStringValue:canBeAsked
                                        ? vx::Localized(@"Or run this command in a terminal:")
                                        : vx::Localized(@"Run this command in a terminal:")];
}

- (void)hide
{
    AssertMainThread();
    _state->asking.Cancel();
    [_askRow setHidden:YES];
    [_commandRow setHidden:YES];
}

- (IBAction)ask:(id)sender
{
    AssertMainThread();
    vx::RightAsking *rights = _state->rights;
    const std::string device = _state->path;
    const auto work = [self, rights, device](const std::atomic<bool> &cancel) {
        return [self, answer = rights->Ask(device, cancel)] { [self answered:answer]; };
    };
    [_askButton setEnabled:NO];
    if (!_state->asking.Start(work))
        [self answered:{false, true, "no thread is left to ask with"}];
}

- (void)answered:(const vx::RightAnswer &)answer
{
    AssertMainThread();
    [_askButton setEnabled:YES];
    [self showQuestion:answer.canBeAsked];
    [_delegate rightRow:self wasAnswered:answer];
}

- (IBAction)copyCommand:(id)sender
{
    AssertMainThread();
    NSPasteboard *pasteboard = [NSPasteboard generalPasteboard];
    [pasteboard declareTypes:[NSArray arrayWithObject:NSStringPboardType] owner:nil];
    [pasteboard setString:[_commandField stringValue] forType:NSStringPboardType];
}

@end
