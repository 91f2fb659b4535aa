// Values of a report as text for people.
#pragma once

#include <cstdint>
#include <string>

namespace vx {

// A text of a disk, safe for a terminal.
std::string Shown(const char *text);
// In quotes; nothing stays nothing. "Data" → "\"Data\""
std::string Quoted(const char *text);

// As SizeText and ExactSizeText; a disk may claim any size.
std::string RoundedBytes(uint64_t bytes);
std::string ExactBytes(uint64_t bytes);

// "1,234,567"
std::string GroupedNumber(uint64_t number);

// "2020-09-30" and "2020-09-30 17:00:00 UTC"; empty for 0.
std::string DateOf(uint64_t fileTime);
std::string MomentOf(uint64_t fileTime);

// The first eight digits of an identifier, as Windows shows them.
std::string KeyIdOf(const std::string &identifier);

// One line of a section, its name padded: "  Method        AES-128-XTS". Nothing for no value.
std::string FactLine(const char *name, const std::string &value);

}  // namespace vx
