// Does what its arguments say with CBitlockerWrapper and prints what came of it, one line each:
//   path                where the library is looked for
//   open A B C          the call, with a status
//   open-no-status A B C
//   list                lists the root of the opened volume
//   wrapper             goes on with a wrapper of its own
//   copy FROM TO        copies a file
// Every attempt to load a library prints "dlopen", and "lazy" or its mode.
#include <dlfcn.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#import "CBitlockerWrapper.h"
#import "Z5FileExplorerWapper.h"

// Stands in front of the system's own, for this program and what it is linked from.
extern "C" void *dlopen(const char *path, int mode)
#ifdef __GLIBC__
    noexcept
#endif
{
    using Open = void *(*)(const char *, int);
    static const Open systems = reinterpret_cast<Open>(dlsym(RTLD_NEXT, "dlopen"));
    if (path != nullptr && std::string(path).find("libBitLockerWapper") != std::string::npos)
        printf("dlopen %s\n", mode == RTLD_LAZY ? "lazy" : std::to_string(mode).c_str());
    return systems(path, mode);
}

namespace {

constexpr int32_t kUntouchedStatus = 4711;

class Probe {
public:
    // Runs one command; returns how many arguments it took.
    size_t Run(const std::vector<std::string> &words, size_t at)
    {
        const std::string &command = words[at];
        if (command == "path")
            puts([_wrapper->libraryPath() UTF8String]);
        if (command == "list")
            printf("list %s\n", Listed() ? "made" : "nil");
        if (command == "wrapper")
            _wrapper = std::make_unique<CBitlockerWrapper>();
        if (command == "copy")
            return Copy(words[at + 1], words[at + 2]);
        if (command == "open" || command == "open-no-status")
            return Open(&words[at + 1], command == "open");
        return 1;
    }

private:
    size_t Open(const std::string *texts, bool withStatus)
    {
        int32_t status = kUntouchedStatus;
        IVolume *const untouched = reinterpret_cast<IVolume *>(this);
        _volume = untouched;
        const bool called =
            _wrapper->openBitlockerDevice(texts[0].c_str(), texts[1].c_str(), texts[2].c_str(),
                                          &_volume, withStatus ? &status : nullptr);
        const char *volume = _volume == untouched ? "untouched" : "stored";
        printf("%s %s ", called ? "true" : "false", _volume == nullptr ? "null" : volume);
        puts(status == kUntouchedStatus ? "untouched" : std::to_string(status).c_str());
        return 4;
    }
    bool Listed() const
    {
        Z5FileExplorerWapper *explorer =
            [[[Z5FileExplorerWapper alloc] initWithVolumeObject:_volume] autorelease];
        return explorer != nil && [[explorer rootDirectory] count] == 0;
    }
    static size_t Copy(const std::string &from, const std::string &to)
    {
        NSFileManager *manager = [NSFileManager defaultManager];
        [manager copyItemAtPath:[NSString stringWithUTF8String:from.c_str()]
                         toPath:[NSString stringWithUTF8String:to.c_str()]
                          error:NULL];
        return 3;
    }

    std::unique_ptr<CBitlockerWrapper> _wrapper = std::make_unique<CBitlockerWrapper>();
    IVolume *_volume = nullptr;
};

}  // namespace

int main(int argc, char **argv)
{
    setvbuf(stdout, nullptr, _IONBF, 0);
    @autoreleasepool {
        const std::vector<std::string> words(argv + 1, argv + argc);
        Probe probe;
        for (size_t at = 0; at < words.size();)
            at += probe.Run(words, at);
    }
    return 0;
}
