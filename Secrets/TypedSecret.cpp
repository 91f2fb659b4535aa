#include "TypedSecret.h"

#include "Overwrite.h"

#include <cstring>
#include <sys/mman.h>

namespace vx {

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

void TypedSecret::RemoveFirst(std::string_view prefix)
{
    if (std::string_view(_bytes, _size).substr(0, prefix.size()) != prefix)
        return;
    _size -= prefix.size();
    std::memmove(_bytes, _bytes + prefix.size(), _size);
    Overwrite(_bytes + _size, prefix.size());
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
