#import "SecretFields.h"

#include "HostTexts.h"
#include "RecoveryDigits.h"
#include "ThreadChecks.h"
#import "WarningColor.h"

#include <objc/runtime.h>

namespace {

std::u16string UnitsOf(NSString *text)
{
    std::u16string units([text length], u'\0');
    [text getCharacters:reinterpret_cast<unichar *>(units.data())
                  range:NSMakeRange(0, units.size())];
    return units;
}

// While it is being edited, the field itself may still have the text of before.
NSString *TextIn(NSTextField *field)
{
    NSText *editor = [field currentEditor];
    return editor == nil ? [field stringValue] : [editor string];
}

std::string Joined(const std::vector<std::string> &parts)
{
    std::string text;
    for (const std::string &part : parts)
        text += (text.empty() ? "" : ", ") + part;
    return text;
}

NSString *MistypedText(const vx::RecoveryDigits &digits)
{
    const std::vector<size_t> wrong = digits.WrongGroups();
    if (wrong.empty())
        return nil;
    if (digits.groups.size() > vx::RecoveryDigits::kGroups)
        return vx::Localized(@"A recovery key has 48 digits. These are more.");
    std::vector<std::string> numbers;
    numbers.reserve(wrong.size());
    for (const size_t number : wrong)
        numbers.push_back(std::to_string(number));
    return vx::Localized("Mistyped: group {1}.", {Joined(numbers)});
}

NSString *IdentifierText(const vx::UnlockChoice &choice)
{
    if (choice.identifiers.empty() || choice.kind == vx::SecretKind::kPassword)
        return @"";
    return vx::Localized("Key identifier: {1}", {Joined(choice.identifiers)});
}

void MarkGroups(const vx::RecoveryDigits &digits, NSTextView *editor)
{
    NSTextStorage *storage = [editor textStorage];
    [storage beginEditing];
    [storage addAttribute:NSForegroundColorAttributeName
                    value:[NSColor controlTextColor]
                    range:NSMakeRange(0, [storage length])];
    for (const vx::RecoveryGroup &group : digits.groups) {
        if (group.isWrong)
            [storage addAttribute:NSForegroundColorAttributeName
                            value:vx::WarningColor()
                            range:NSMakeRange(group.begin, group.length)];
    }
    [storage endEditing];
}

}  // namespace

@implementation SecretFields

@synthesize passwordRow = _passwordRow;
@synthesize hiddenField = _hiddenField;
@synthesize shownField = _shownField;
@synthesize showButton = _showButton;
@synthesize recoveryRow = _recoveryRow;
@synthesize digitsField = _digitsField;
@synthesize fileRow = _fileRow;
@synthesize fileField = _fileField;
@synthesize chooseButton = _chooseButton;
@synthesize hintLabel = _hintLabel;
@synthesize delegate = _delegate;

- (id)init
{
    self = [super init];
    if (self != nil)
        _choice = new vx::UnlockChoice;
    return self;
}

- (void)dealloc
{
    AssertMainThread();
    [_hiddenField setDelegate:nil];
    [_shownField setDelegate:nil];
    [_digitsField setDelegate:nil];
    [_passwordRow release];
    [_hiddenField release];
    [_shownField release];
    [_showButton release];
    [_recoveryRow release];
    [_digitsField release];
    [_fileRow release];
    [_fileField release];
    [_chooseButton release];
    [_hintLabel release];
    delete _choice;
    [super dealloc];
}

- (void)awakeFromNib
{
    AssertMainThread();
    constexpr CGFloat kDigitsSize = 12;
    for (NSTextField *field in @[ _hiddenField, _shownField, _digitsField ])
        [field setDelegate:(id)self];
    [_digitsField setFont:[NSFont userFixedPitchFontOfSize:kDigitsSize]];
    [self hide];
}

- (void)showChoice:(const vx::UnlockChoice &)choice
{
    AssertMainThread();
    *_choice = choice;
    [self empty];
    [_passwordRow setHidden:choice.kind != vx::SecretKind::kPassword];
    [_recoveryRow setHidden:choice.kind != vx::SecretKind::kRecoveryKey];
    [_fileRow setHidden:!vx::IsFileKind(choice.kind)];
    [self showHint];
}

- (void)hide
{
    AssertMainThread();
    [self showChoice:vx::UnlockChoice()];
}

// A field that is disabled while it is edited may lose what was typed.
- (void)endEditing
{
    NSTextField *field = [self field];
    if ([field currentEditor] == nil)
        return;
    NSString *text = [NSString stringWithString:TextIn(field)];
    [field abortEditing];
    [field setStringValue:text];
}

- (void)setEnabled:(BOOL)enabled
{
    AssertMainThread();
    if (!enabled)
        [self endEditing];
    for (NSControl *control in
         @[ _hiddenField, _shownField, _showButton, _digitsField, _chooseButton ])
        [control setEnabled:enabled];
}

- (void)empty
{
    AssertMainThread();
    for (NSTextField *field in @[ _hiddenField, _shownField, _digitsField, _fileField ]) {
        [[field currentEditor] setString:@""];
        [field setStringValue:@""];
    }
    [self setShown:NO];
    [self showHint];
}

- (void)setShown:(BOOL)shown
{
    [_showButton setState:shown ? NSOnState : NSOffState];
    [_shownField setHidden:!shown];
    [_hiddenField setHidden:shown];
}

- (IBAction)toggleShown:(id)sender
{
    AssertMainThread();
    const BOOL shown = [_showButton state] == NSOnState;
    NSTextField *from = shown ? _hiddenField : _shownField, *to = [self passwordField];
    [to setStringValue:TextIn(from)];
    [from setStringValue:@""];
    [self setShown:shown];
    [[to window] makeFirstResponder:to];
    [[to currentEditor] setSelectedRange:NSMakeRange([TextIn(to) length], 0)];
}

- (NSTextField *)passwordField
{
    return [_showButton state] == NSOnState ? _shownField : _hiddenField;
}

// nil for a kind without one.
- (NSTextField *)field
{
    switch (_choice->kind) {
    case vx::SecretKind::kPassword:
        return [self passwordField];
    case vx::SecretKind::kRecoveryKey:
        return _digitsField;
    case vx::SecretKind::kStartupKey:
    case vx::SecretKind::kRecoveryFile:
        return _fileField;
    case vx::SecretKind::kNone:
        break;
    }
    return nil;
}

- (IBAction)chooseFile:(id)sender
{
    AssertMainThread();
    NSOpenPanel *panel = [NSOpenPanel openPanel];
    [panel setCanChooseFiles:YES];
    [panel setCanChooseDirectories:NO];
    [panel setAllowsMultipleSelection:NO];
    [panel beginSheetModalForWindow:[_fileField window]
                  completionHandler:^(NSInteger result) {
                      if (result == NSFileHandlingPanelOKButton)
                          [self setFile:[[panel URL] path]];
                  }];
}

- (void)setFile:(NSString *)path
{
    [_fileField setStringValue:path == nil ? @"" : path];
    [_fileField setToolTip:path];
    [_delegate secretFieldsDidChange:self];
}

- (void)controlTextDidChange:(NSNotification *)notification
{
    AssertMainThread();
    if ([notification object] == _digitsField)
        [self groupDigits];
    [_delegate secretFieldsDidChange:self];
}

// Return would end the editing of a key that is not whole yet.
- (BOOL)control:(NSControl *)control textView:(NSTextView *)editor doCommandBySelector:(SEL)command
{
    AssertMainThread();
    // One name may have several selectors.
    return sel_isEqual(command, @selector(insertNewline:)) && ![self hasSecret];
}

- (vx::RecoveryDigits)digits
{
    std::u16string typed = UnitsOf(TextIn(_digitsField));
    return vx::GroupRecoveryDigits(typed, typed.size());
}

// While text is being composed by an input method, it is left alone.
- (void)groupDigits
{
    NSTextView *editor = (NSTextView *)[_digitsField currentEditor];
    if (editor == nil || [editor hasMarkedText])
        return;
    const vx::RecoveryDigits digits =
        vx::GroupRecoveryDigits(UnitsOf([editor string]), NSMaxRange([editor selectedRange]));
    NSString *text = vx::TextOf(digits.text);
    if (![text isEqualToString:[editor string]]) {
        [editor setString:text];
        [editor setSelectedRange:NSMakeRange(digits.cursor, 0)];
    }
    MarkGroups(digits, editor);
    [self showHint];
}

- (void)showHint
{
    NSString *mistyped =
        _choice->kind == vx::SecretKind::kRecoveryKey ? MistypedText([self digits]) : nil;
    NSString *identifiers = IdentifierText(*_choice);
    if (mistyped != nil && [identifiers length] > 0)
        identifiers = [identifiers stringByAppendingString:@"\n"];
    [_hintLabel setStringValue:mistyped == nil ? identifiers
                                               : [identifiers stringByAppendingString:mistyped]];
    [_delegate secretFieldsDidChange:self];
}

- (BOOL)hasSecret
{
    AssertMainThread();
    if (_choice->kind == vx::SecretKind::kRecoveryKey)
        return [self digits].IsComplete();
    NSTextField *field = [self field];
    return field == nil || [TextIn(field) length] > 0;
}

- (BOOL)copySecretTo:(vx::TypedSecret *)secret
{
    AssertMainThread();
    const char *bytes = [TextIn([self field]) UTF8String];
    secret->Wipe();
    for (; bytes != nullptr && *bytes != '\0'; ++bytes) {
        if (!secret->Append(*bytes))
            return NO;
    }
    return YES;
}

- (void)selectText
{
    AssertMainThread();
    NSTextField *field = [self field];
    if (field == _fileField)
        [[_chooseButton window] makeFirstResponder:_chooseButton];
    else
        [field selectText:nil];
}

@end
