// What the sanitizers are to pass over in the libraries underneath a program. Part of every program
// with Foundation in a sanitizer build, and not of its environment, since a program of tests also
// runs while it is built, to name its tests.
// - Leaks of what the Objective-C runtime and the base library allocate: tables and objects that
//   they keep without a pointer that the leak checker can find. Objects of our own classes are
//   among them; what our code allocates itself is all watched.
// - Leaks of what the font library keeps.
// - The order of the base library's own locks, taken both ways while a thread is first made
//   known to it. (Passing over every call from that library instead would also hide locks that
//   the sanitizer then sees unlocked.)
// - The base library clearing a new object, against the use of that object on the thread that it
//   was handed to: the library counts references with atomics that the sanitizer does not see.
//
// The sanitizers look these names up; they are in no header.
extern "C" const char *__lsan_default_options();
extern "C" const char *__lsan_default_suppressions();
extern "C" const char *__tsan_default_suppressions();

// A program's output stays its own.
extern "C" const char *__lsan_default_options()
{
    return "print_suppressions=0";
}

extern "C" const char *__lsan_default_suppressions()
{
    return "leak:libobjc.so\n"
           "leak:libgnustep-base.so\n"
           "leak:libfontconfig.so\n";
}

extern "C" const char *__tsan_default_suppressions()
{
    return "deadlock:libgnustep-base.so\n"
           "race:NSAllocateObject\n";
}
