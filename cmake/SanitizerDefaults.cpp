// The options that every program built with AddressSanitizer or ThreadSanitizer starts with;
// ASAN_OPTIONS and TSAN_OPTIONS in the environment override them.
extern "C" const char *__asan_default_options();
extern "C" const char *__tsan_default_options();

// The leak checker reads the thread storage of loaded libraries where the interceptor assumes it to
// be. With current C libraries the assumption is wrong, and the checker crashes, depending on
// nothing but the size of the environment.
extern "C" const char *__asan_default_options()
{
    return "intercept_tls_get_addr=0";
}

// By default a process that ends is kept for a second more; tests measure how soon one is gone.
extern "C" const char *__tsan_default_options()
{
    return "atexit_sleep_ms=0";
}
