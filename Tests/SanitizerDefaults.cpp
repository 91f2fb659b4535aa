// Linked into programs of Objective-C++ for tests: how the sanitizers treat what is the
// platform's. AddressSanitizer looks for no leaks, since the catalogue's entries and their folders
// keep each other and Foundation keeps what it allocates once; ThreadSanitizer leaves out
// reports from inside the platform's library. These are defaults of the program and not of a
// test's environment, since the program also runs while it is built, to name its tests.
extern "C" const char *__asan_default_options();
extern "C" const char *__tsan_default_options();

const char *__asan_default_options()
{
    return "detect_leaks=0";
}

const char *__tsan_default_options()
{
    return "suppressions=" VX_TSAN_SUPPRESSIONS;
}
