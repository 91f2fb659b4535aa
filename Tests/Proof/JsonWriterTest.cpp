#include "JsonWriter.h"

#include <gtest/gtest.h>

namespace vx {
namespace {

TEST(JsonWriter, WritesOneValueOnALine)
{
    std::string text;
    JsonWriter json([&text](std::string_view part) { text.append(part); });
    json.BeginObject();
    json.Name("a");
    json.Number(-5);
    json.Name("b");
    json.BeginArray();
    json.Text("x\"\n");
    json.Text(u"\xd800");
    json.Text("\xE9");
    json.BeginObject();
    json.EndObject();
    json.EndArray();
    json.Name("c");
    json.BeginArray();
    json.EndArray();
    json.Name("d");
    json.Truth(true);
    json.Name("e");
    json.Null();
    json.EndObject();
    EXPECT_EQ(text, "{\n  \"a\": -5,\n  \"b\": [\n    \"x\\\"\\u000a\",\n    \"\uFFFD\",\n"
                    "    \"\uFFFD\",\n    {}\n  ],\n  \"c\": [],\n  \"d\": true,\n"
                    "  \"e\": null\n}\n");
}

}  // namespace
}  // namespace vx
