// The order in which the kernel numbers its devices: sda9 before sda10, sdz before sdaa.
#pragma once

#include <cctype>
#include <string_view>

namespace vx {

class DeviceNameOrder {
public:
    bool operator()(std::string_view first, std::string_view second) const
    {
        while (!first.empty() && !second.empty()) {
            const std::string_view a = TakeRun(&first);
            const std::string_view b = TakeRun(&second);
            // A longer number without leading zeros is greater, and so is a longer run of letters.
            if (a.size() != b.size())
                return a.size() < b.size();
            if (a != b)
                return a < b;
        }
        return first.empty() && !second.empty();
    }

private:
    static bool IsDigit(char character)
    {
        return isdigit(static_cast<unsigned char>(character)) != 0;
    }
    // Takes the digits at the front, or what is up to the next digit.
    static std::string_view TakeRun(std::string_view *text)
    {
        size_t length = 1;
        while (length < text->size() && IsDigit((*text)[length]) == IsDigit((*text)[0]))
            ++length;
        const std::string_view run = text->substr(0, length);
        text->remove_prefix(length);
        return run;
    }
};

}  // namespace vx
