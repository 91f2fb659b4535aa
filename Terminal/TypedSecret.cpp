#include "Secret.h"

#include <sys/mman.h>

namespace vx {
namespace {

void Overwrite(char *bytes, size_t count)
{
    // Volatile, or the compiler would leave out writes that are never read.
    for (volatile char *byte = bytes; byte != bytes + count; ++byte)
        *byte = 0;
}

}  // namespace

Secret::Secret()
{
    (void)mlock(_bytes, sizeof(_bytes));
}

Secret::~Secret()
{
    Wipe();
    (void)munlock(_bytes, sizeof(_bytes));
}

bool Secret::Append(char byte)
{
    if (_size == kMostBytes)
        return false;
    _bytes[_size++] = byte;
    return true;
}

void Secret::RemoveLast()
{
    _bytes[--_size] = 0;
}

void Secret::Wipe()
{
    Overwrite(_bytes, sizeof(_bytes));
    _size = 0;
}

void WipeText(std::string *text)
{
    Overwrite(text->data(), text->size());
    text->clear();
}

}  // namespace vx
