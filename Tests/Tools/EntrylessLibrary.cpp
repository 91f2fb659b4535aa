// A library that loads but has no entry.
extern "C" __attribute__((visibility("default"))) int another_function()
{
    return 0;
}
