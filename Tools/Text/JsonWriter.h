// Writes JSON piece by piece, two spaces for each level, one value on a line.
//
// Ownership: borrows what it writes to. Threads: one at a time.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace vx {

class JsonWriter {
public:
    using Output = std::function<void(std::string_view text)>;

    explicit JsonWriter(Output output) : _output(std::move(output)) {}

    void BeginObject() { Begin('{'); }
    void EndObject() { End('}'); }
    void BeginArray() { Begin('['); }
    void EndArray() { End(']'); }
    // Before each value of an object.
    void Name(const char *name);

    // UTF-8; what is not valid becomes U+FFFD.
    void Text(std::string_view text);
    // UTF-16; a lone surrogate becomes U+FFFD.
    void Text(std::u16string_view text);
    void Number(int64_t number) { Value(std::to_string(number)); }
    void Truth(bool truth) { Value(truth ? "true" : "false"); }
    void Null() { Value("null"); }

private:
    void Begin(char bracket);
    void End(char bracket);
    void Value(std::string_view value);
    void BeginLine();

    const Output _output;
    size_t _depth = 0;
    bool _isFirst = true;
    bool _isNamed = false;
};

}  // namespace vx
