#import "RecordingDelegate.h"

#include <limits>
#include <utility>

@implementation RecordingDelegate

- (id)init
{
    self = [super init];
    if (self != nil) {
        _state = kExportStateRunning;
        _questionsBeforeCancel = std::numeric_limits<int64_t>::max();
        _statesBeforeStop = std::numeric_limits<int64_t>::max();
    }
    return self;
}

- (void)record:(DelegateCall)call
{
    call.thread = std::this_thread::get_id();
    const vx::MutexLock guard(_mutex);
    _calls.push_back(std::move(call));
}

- (void)record:(const char *)operation number:(NSNumber *)number
{
    DelegateCall call;
    call.operation = operation;
    call.number = [number doubleValue];
    call.type = [number objCType];
    [self record:call];
}

- (void)UpdateProgress:(NSNumber *)percent
{
    [self record:"UpdateProgress:" number:percent];
}

- (void)UpdateInformation:(NSString *)path
{
    DelegateCall call;
    call.operation = "UpdateInformation:";
    call.text = [path UTF8String];
    [self record:call];
}

- (void)UpdateTotalSize:(NSNumber *)total
{
    [self record:"UpdateTotalSize:" number:total];
}

- (BOOL)Continued
{
    DelegateCall call;
    call.operation = "Continued";
    [self record:call];
    return !_cancelled && _questionsBeforeCancel-- > 0;
}

- (int32_t)GetState
{
    DelegateCall call;
    call.operation = "GetState";
    [self record:call];
    return _statesBeforeStop-- > 0 ? _state.load() : int32_t(kExportStateStop);
}

- (void)SetState:(int32_t)state
{
    DelegateCall call;
    call.operation = "SetState:";
    [self record:call];
    _state = state;
}

- (void)cancel
{
    _cancelled = true;
}

- (void)cancelAfter:(int64_t)questions
{
    _questionsBeforeCancel = questions;
}

- (void)stopAfter:(int64_t)questions
{
    _statesBeforeStop = questions;
}

- (std::vector<DelegateCall>)calls
{
    const vx::MutexLock guard(_mutex);
    return _calls;
}

- (std::string)operations
{
    std::string all;
    for (const DelegateCall &call : [self calls])
        all += (all.empty() ? "" : " ") + call.operation;
    return all;
}

- (std::vector<DelegateCall>)callsOf:(const char *)operation
{
    std::vector<DelegateCall> found;
    for (const DelegateCall &call : [self calls]) {
        if (call.operation == operation)
            found.push_back(call);
    }
    return found;
}

- (std::vector<int>)percents
{
    std::vector<int> all;
    for (const DelegateCall &call : [self callsOf:"UpdateProgress:"])
        all.push_back(static_cast<int>(call.number));
    return all;
}

- (std::vector<std::string>)paths
{
    std::vector<std::string> all;
    for (const DelegateCall &call : [self callsOf:"UpdateInformation:"])
        all.push_back(call.text);
    return all;
}

- (std::vector<double>)totals
{
    std::vector<double> all;
    for (const DelegateCall &call : [self callsOf:"UpdateTotalSize:"])
        all.push_back(call.number);
    return all;
}

@end
