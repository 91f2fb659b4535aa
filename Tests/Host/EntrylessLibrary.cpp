// A library that is no volume library.
extern "C" __attribute__((visibility("default"))) int something_else()
{
    return 0;
}
