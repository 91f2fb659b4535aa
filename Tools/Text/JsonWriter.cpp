#include "JsonWriter.h"

#include "JsonText.h"

namespace vx {

void JsonWriter::BeginLine()
{
    if (_isNamed) {
        _isNamed = false;
        return;
    }
    if (!_isFirst)
        _output(",");
    if (_depth > 0)
        _output("\n" + std::string(2 * _depth, ' '));
    _isFirst = false;
}

void JsonWriter::Begin(char bracket)
{
    BeginLine();
    _output(std::string_view(&bracket, 1));
    ++_depth;
    _isFirst = true;
}

void JsonWriter::End(char bracket)
{
    --_depth;
    if (!_isFirst)
        _output("\n" + std::string(2 * _depth, ' '));
    _isFirst = false;
    _output(std::string_view(&bracket, 1));
    if (_depth == 0)
        _output("\n");
}

void JsonWriter::Value(std::string_view value)
{
    BeginLine();
    _output(value);
}

void JsonWriter::Name(const char *name)
{
    BeginLine();
    _output("\"" + std::string(name) + "\": ");
    _isNamed = true;
}

void JsonWriter::Text(std::string_view text)
{
    Value(JsonText(text));
}

void JsonWriter::Text(std::u16string_view text)
{
    Value(JsonText(text));
}

}  // namespace vx
