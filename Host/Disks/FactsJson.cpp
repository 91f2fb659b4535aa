#include "FactsJson.h"

#include "LineText.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace vx {
namespace {

using Json = nlohmann::json;

constexpr int kDeepest = 16;

// A value of an object, or null: of what is no object, or does not have it.
const Json &ValueOf(const Json &object, const char *name)
{
    static const Json kNothing;
    if (!object.is_object())
        return kNothing;
    const auto found = object.find(name);
    return found == object.end() ? kNothing : *found;
}

std::string TextOf(const Json &object, const char *name)
{
    const auto *text = ValueOf(object, name).get_ptr<const std::string *>();
    return text == nullptr ? "" : LineText(*text);
}

uint64_t NumberOf(const Json &object, const char *name)
{
    const auto *number = ValueOf(object, name).get_ptr<const uint64_t *>();
    return number == nullptr ? 0 : *number;
}

bool TruthOf(const Json &object, const char *name)
{
    const auto *truth = ValueOf(object, name).get_ptr<const bool *>();
    return truth != nullptr && *truth;
}

const Json::array_t &ListOf(const Json &object, const char *name)
{
    static const Json::array_t kEmpty;
    const auto *list = ValueOf(object, name).get_ptr<const Json::array_t *>();
    return list == nullptr ? kEmpty : *list;
}

std::vector<std::string> TextsOf(const Json &object, const char *name)
{
    std::vector<std::string> texts;
    for (const Json &text : ListOf(object, name)) {
        if (text.is_string())
            texts.push_back(LineText(*text.get_ptr<const std::string *>()));
    }
    return texts;
}

ProtectorFacts ReadProtector(const Json &protector)
{
    ProtectorFacts facts;
    facts.kind = TextOf(protector, "kind");
    facts.kindText = TextOf(protector, "kindText");
    facts.identifier = TextOf(protector, "identifier");
    facts.unlockKinds = TextsOf(protector, "opensWith");
    return facts;
}

void ReadEncryption(const Json &encryption, VolumeFacts *facts)
{
    facts->method = TextOf(encryption, "method");
    facts->state = TextOf(encryption, "state");
    facts->identifier = TextOf(encryption, "identifier");
    facts->description = TextOf(encryption, "description");
    facts->hasClearKey = TruthOf(encryption, "clearKey");
    for (const Json &protector : ListOf(encryption, "protectors"))
        facts->protectors.push_back(ReadProtector(protector));
}

VolumeFacts ReadVolume(const Json &volume)
{
    VolumeFacts facts;
    facts.number = NumberOf(volume, "number");
    facts.bytes = NumberOf(volume, "bytes");
    facts.label = TextOf(volume, "label");
    facts.kind = TextOf(volume, "kind");
    facts.kindText = TextOf(volume, "kindText");
    facts.nextStep = TextOf(volume, "nextStep");
    ReadEncryption(ValueOf(volume, "encryption"), &facts);
    return facts;
}

// isAlone: of those with a number; of those without one, the only volume.
std::string AddressOf(const Json &volume, const std::string &disk, bool isAlone)
{
    const uint64_t number = NumberOf(volume, "number");
    if (number == 0 && !ValueOf(volume, "offset").is_number_unsigned())
        return "";
    if (isAlone)
        return disk;
    return number != 0 ? disk + "#" + std::to_string(number)
                       : disk + "@" + std::to_string(NumberOf(volume, "offset"));
}

Json Parse(const std::string &json)
{
    const auto isKept = [](int depth, Json::parse_event_t, Json &) { return depth <= kDeepest; };
    return Json::parse(json, isKept, false);
}

}  // namespace

bool ReadFactsJson(const std::string &json, const std::string &volume, DiskFacts *facts)
{
    const Json report = Parse(json);
    if (!ValueOf(report, "volumes").is_array())
        return false;
    facts->container = TextOf(report, "containerText");
    facts->bytes = NumberOf(report, "bytes");
    facts->warnings = TextsOf(report, "warnings");
    const Json::array_t &volumes = ListOf(report, "volumes");
    const auto numbered = std::count_if(volumes.begin(), volumes.end(), [](const Json &entry) {
        return NumberOf(entry, "number") != 0;
    });
    for (const Json &entry : volumes) {
        facts->volumes.push_back(ReadVolume(entry));
        const bool hasNumber = NumberOf(entry, "number") != 0;
        const bool isAlone = hasNumber ? numbered == 1 : volumes.size() == 1;
        facts->volumes.back().address = AddressOf(entry, volume, isAlone);
    }
    return true;
}

}  // namespace vx
