// Linked into programs of Objective-C++ for tests: AddressSanitizer looks for no leaks there. The
// catalogue's entries and their folders keep each other, and Foundation keeps what it allocates
// once. It is a default of the program and not of the test's environment, since the program
// also runs while it is built, to name its tests.
extern "C" const char *__asan_default_options();

const char *__asan_default_options()
{
    return "detect_leaks=0";
}
