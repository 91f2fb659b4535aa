// The options that every program built with AddressSanitizer starts with; ASAN_OPTIONS in the
// environment overrides them.
extern "C" const char *__asan_default_options();

// The leak checker reads the thread storage of loaded libraries where the interceptor assumes it to
// be. With current C libraries the assumption is wrong, and the checker crashes, depending on
// nothing but the size of the environment.
extern "C" const char *__asan_default_options()
{
    return "intercept_tls_get_addr=0";
}
