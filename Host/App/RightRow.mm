#import "RightRow.h"

#include "BackgroundWork.h"
#include "HostTexts.h"
#include "ThreadChecks.h"

struct RightRowState {
    vx::RightAsking *rights = nullptr;
    std::string device;
    vx::BackgroundWork asking;
};

@implementation RightRow

@synthesize askRow = _askRow;
@synthesize askButton = _askButton;
@synthesize commandRow = _commandRow;
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

- (void)showDevice:(const std::string &)device
{
    AssertMainThread();
    _state->device = device;
    [_askRow setHidden:!_state->rights->CanAsk()];
    [_askButton setEnabled:YES];
    [self showCommandFor:device];
}

- (void)showFile:(const std::string &)path
{
    AssertMainThread();
    [_askRow setHidden:YES];
    [self showCommandFor:path];
}

- (void)showCommandFor:(const std::string &)path
{
    NSString *command = vx::TextOf(_state->rights->Command(path));
    [_commandField setStringValue:command];
    [_commandField setToolTip:command];
    [_commandRow setHidden:[command length] == 0];
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
    const std::string device = _state->device;
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
    [_askRow setHidden:!answer.canBeAsked];
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
