#include "MountSession.h"

#include "TerminalText.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <thread>
#include <unistd.h>
#include <vector>

namespace vx {
namespace {

// As many as processors, and one that waits for the disk; more only wake each other.
unsigned MostThreads()
{
    constexpr unsigned kMostThreads = 8;
    return std::clamp(std::thread::hardware_concurrency() + 1, FuseTree::kFewestThreads,
                      kMostThreads);
}

// What libfuse said last.
std::string &LastWords()
{
    static std::string words;
    return words;
}

void KeepWords(enum fuse_log_level, const char *format, va_list arguments)
{
    char line[512];
    vsnprintf(line, sizeof(line), format, arguments);
    std::string words = line;
    while (!words.empty() && words.back() == '\n')
        words.pop_back();
    if (words.rfind("fuse: ", 0) == 0)
        words.erase(0, 6);
    LastWords() = words;
}

// A comma would end the option, and a backslash take the meaning from the character after it.
std::string Escaped(const std::string &value)
{
    std::string escaped;
    for (const char byte : value) {
        if (byte == ',' || byte == '\\')
            escaped += '\\';
        escaped += byte;
    }
    return escaped;
}

std::string OptionsOf(const MountSession::Settings &settings)
{
    const std::string others = settings.allowsOther ? ",allow_other" : "";
    return "ro,nosuid,nodev,noexec,noatime,default_permissions,subtype=volume-mount,max_read=" +
           std::to_string(FuseTree::kLargestRead) + others + ",fsname=" + Escaped(settings.volume);
}

struct DestroyConfig {
    void operator()(fuse_loop_config *config) const { fuse_loop_cfg_destroy(config); }
};

// Where libfuse keeps silent, its program has printed the reason.
std::string WhyRefused(const MountSession::Settings &settings)
{
    if (geteuid() == 0)
        return "the system refused it";
    const char *const advice =
        settings.allowsOther ? "; --allow-other needs the line user_allow_other in /etc/fuse.conf"
                             : "";
    return std::string("fusermount3 refused it (see above)") + advice;
}

}  // namespace

MountSession::~MountSession()
{
    if (_isMounted)
        fuse_session_unmount(_session);
    if (_handlesSignals)
        fuse_remove_signal_handlers(_session);
    if (_session != nullptr)
        fuse_session_destroy(_session);
}

// Signals are handled first, so that none leaves a mount behind.
bool MountSession::Mount(const Settings &settings, std::string *error)
{
    fuse_set_log_func(KeepWords);
    std::string program = "volume-mount";
    std::string option = "-o";
    std::string options = OptionsOf(settings);
    std::vector<char *> words = {program.data(), option.data(), options.data()};
    fuse_args arguments = FUSE_ARGS_INIT(static_cast<int>(words.size()), words.data());
    const fuse_lowlevel_ops &operations = FuseTree::Operations();
    _session = fuse_session_new(&arguments, &operations, sizeof(operations), &_tree);
    fuse_opt_free_args(&arguments);
    _tree.SetSession(_session);
    _handlesSignals = _session != nullptr && fuse_set_signal_handlers(_session) == 0;
    _isMounted = _handlesSignals && fuse_session_mount(_session, settings.folder.c_str()) == 0;
    if (!_isMounted)
        *error = "cannot mount on " + TerminalText(settings.folder) + ": " +
                 TerminalText(LastWords().empty() ? WhyRefused(settings) : LastWords());
    return _isMounted;
}

// A signal is an end like any other.
bool MountSession::Serve()
{
    const std::unique_ptr<fuse_loop_config, DestroyConfig> config(fuse_loop_cfg_create());
    if (config == nullptr)
        return false;
    fuse_loop_cfg_set_clone_fd(config.get(), 1);
    fuse_loop_cfg_set_max_threads(config.get(), MostThreads());
    return fuse_session_loop_mt(_session, config.get()) >= 0;
}

}  // namespace vx
