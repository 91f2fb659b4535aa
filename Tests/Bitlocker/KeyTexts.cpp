#include "KeyTexts.h"

#include "CodePoints.h"

namespace vx::bitlocker {

std::string Encoded(const std::string &utf8, TextEncoding encoding)
{
    if (encoding == TextEncoding::kUtf8)
        return utf8;
    if (encoding == TextEncoding::kUtf8WithMark)
        return "\xef\xbb\xbf" + utf8;
    const bool isBig =
        encoding == TextEncoding::kBigEndian || encoding == TextEncoding::kBigEndianWithMark;
    std::string bytes;
    const auto put = [&](char16_t unit) {
        const char low = static_cast<char>(unit & 0xff);
        const char high = static_cast<char>(unit >> 8);
        bytes += isBig ? high : low;
        bytes += isBig ? low : high;
    };
    if (encoding == TextEncoding::kLittleEndianWithMark ||
        encoding == TextEncoding::kBigEndianWithMark)
        put(0xfeff);
    for (std::string_view rest = utf8; !rest.empty();) {
        const char32_t point = TakeCharacter(&rest);
        put(FirstUnit(point));
        if (UnitCount(point) == 2)
            put(SecondUnit(point));
    }
    return bytes;
}

ByteView BytesOf(const std::string &text)
{
    return {reinterpret_cast<const uint8_t *>(text.data()), text.size()};
}

std::vector<std::string> SavedKeys(const std::string &keyId, const std::string &password)
{
    const auto text = [&](const std::string &title, const std::string &identifier,
                          const std::string &key) {
        return title + "\r\n\r\n" + identifier + "\r\n\r\n\t" + keyId + "\r\n\r\n" + key +
               "\r\n\r\n\t" + password + "\r\n\r\nhttps://example.org/?LinkID=197270\r\n";
    };
    return {text("Recovery key of a drive", "Identifier:", "Recovery key:"),
            text("Schl\u00fcssel f\u00fcr ein Laufwerk", "Bezeichner:", "Schl\u00fcssel:"),
            text("\u56de\u5fa9\u30ad\u30fc", "\u8b58\u5225\u5b50:", "\u30ad\u30fc:"),
            text("\u041a\u043b\u044e\u0447 \u0434\u0438\u0441\u043a\u0430",
                 "\u0418\u0434\u0435\u043d\u0442\u0438\u0444\u0438\u043a\u0430\u0442\u043e\u0440:",
                 "\u041a\u043b\u044e\u0447:"),
            text("\u0645\u0641\u062a\u0627\u062d", "\u0627\u0644\u0645\u0639\u0631\u0641:",
                 "\u0627\u0644\u0645\u0641\u062a\u0627\u062d:"),
            text("Cl\u00e9 \U0001F511", "Identifiant\u00a0:", "Cl\u00e9\u00a0:")};
}

}  // namespace vx::bitlocker
