#include "TypedSecret.h"

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

TypedSecret::TypedSecret()
{
    (void)mlock(_bytes, sizeof(_bytes));
}

TypedSecret::~TypedSecret()
{
    Wipe();
    (void)munlock(_bytes, sizeof(_bytes));
}

bool TypedSecret::Append(char byte)
{
    if (_size == kMostBytes)
        return false;
    _bytes[_size++] = byte;
    return true;
}

void TypedSecret::RemoveLast()
{
    _bytes[--_size] = 0;
}

void TypedSecret::Wipe()
{
    Overwrite(_bytes, sizeof(_bytes));
    _size = 0;
}

void WipeText(std::string *text)
{
    Overwrite(text->data(), text->size());
    text->clear();
}

void WipeTexts(std::vector<std::string> *texts)
{
    for (std::string &text : *texts)
        WipeText(&text);
}

}  // namespace vx
