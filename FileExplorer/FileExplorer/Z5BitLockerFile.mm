#import "Z5BitLockerFile.h"

#import "Utf16Text.h"

namespace {

// The modes of OpenFile; every file of the volume is opened with these three.
constexpr uint32_t kOpenModes[] = {128, 3, 25};

enum : uint32_t { kOriginStart = 0, kOriginCurrent = 1 };

// A 64-bit number as the two 32-bit halves that the volume reads and writes.
struct Halves {
    uint32_t low = 0;
    uint32_t high = 0;

    Halves() = default;
    explicit Halves(int64_t value)
        : low(static_cast<uint32_t>(value)),
          high(static_cast<uint32_t>(static_cast<uint64_t>(value) >> 32))
    {
    }
    int64_t value() const { return static_cast<int64_t>(static_cast<uint64_t>(high) << 32 | low); }
};

bool transferredAll(uint32_t done, int64_t count)
{
    // The done-count is a signed number at this interface.
    return static_cast<int64_t>(static_cast<int32_t>(done)) == count;
}

}  // namespace

@implementation Z5BitLockerFile

- (id)initWithFile:(NSString *)path andVol:(IVolume *)volume
{
    self = [super init];
    if (self == nil)
        return nil;
    if (path != nil && volume != nullptr) {
        _fileHandle = nullptr;
        _volObject = volume;
        if ([self openFile:path])
            return self;
    }
    [self release];
    return nil;
}

- (void)dealloc
{
    if (_fileHandle != nullptr)
        [self closeFile];
    [_strFilePath release];
    [super dealloc];
}

- (BOOL)openFile:(NSString *)path
{
    if (_volObject == nullptr)
        return NO;
    VolumeHandle handle =
        _volObject->OpenFile(Utf16Text(path).c_str(), kOpenModes[0], kOpenModes[1], kOpenModes[2]);
    if (handle == nullptr)
        return NO;
    _fileHandle = handle;
    return YES;
}

- (BOOL)seekFile:(int64_t)position
{
    if (_volObject == nullptr || _fileHandle == nullptr)
        return NO;
    Halves halves(position);
    _volObject->SetFilePosition(_fileHandle, &halves.low, &halves.high, kOriginStart);
    return halves.value() == position;
}

- (int64_t)tellg
{
    if (_volObject == nullptr || _fileHandle == nullptr)
        return 0;
    Halves halves;
    _volObject->SetFilePosition(_fileHandle, &halves.low, &halves.high, kOriginCurrent);
    return halves.value();
}

- (int64_t)getFileSize
{
    if (_volObject == nullptr || _fileHandle == nullptr)
        return 0;
    Halves halves;
    _volObject->QueryFileSize(_fileHandle, &halves.low, &halves.high);
    return halves.value();
}

- (BOOL)readFile:(void *)buffer ofsize:(int64_t)count
{
    if (_volObject == nullptr || buffer == nullptr || _fileHandle == nullptr)
        return NO;
    uint32_t done = 0;
    if (!_volObject->ReadFile(_fileHandle, buffer, static_cast<uint32_t>(count), &done))
        return NO;
    return transferredAll(done, count);
}

- (BOOL)writeFile:(const void *)buffer ofsize:(int64_t)count
{
    if (_volObject == nullptr || buffer == nullptr || _fileHandle == nullptr)
        return NO;
    uint32_t done = 0;
    if (!_volObject->WriteFile(_fileHandle, buffer, static_cast<uint32_t>(count), &done))
        return NO;
    return transferredAll(done, count);
}

- (void)closeFile
{
    if (_volObject == nullptr || _fileHandle == nullptr)
        return;
    _volObject->CloseHandle(_fileHandle);
}

@end
