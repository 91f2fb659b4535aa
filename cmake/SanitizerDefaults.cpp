// The options that every program built with AddressSanitizer starts with; ASAN_OPTIONS in the
// environment overrides them.
extern "C" const char *__asan_default_options();

// The search for leaks reads the thread storage of loaded libraries where the interceptor believes
// it to be. It believes wrongly with the C library of today, and the search itself crashes,
// depending on no more than the size of the environment.
extern "C" const char *__asan_default_options()
{
    return "intercept_tls_get_addr=0";
}
