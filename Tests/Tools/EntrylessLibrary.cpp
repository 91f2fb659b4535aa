// A library that loads but has no entry.
extern "C" __attribute__((visibility("default"))) int AnotherFunction()
{
    return 0;
}
