// Fuzz target: the search for recovery passwords in a text. Each input is searched as it is and
// with its groups of digits made right.
#include "../HeapLimit.h"
#include "../Require.h"
#include "RecoveryTextRepair.h"

#include "RecoveryKeyText.h"

using namespace vx;
using namespace vx::bitlocker;

namespace {

// The longest number that a detail may have: that of a line or a group, and no six digits of a key.
bool HasDigitsOfAKey(const std::string &detail)
{
    size_t run = 0;
    for (const char sign : detail) {
        run = sign >= '0' && sign <= '9' ? run + 1 : 0;
        if (run == 6)
            return true;
    }
    return false;
}

void Search(ByteView file)
{
    KeyList keys;
    const RecoveryKeyText text = RecoveryKeyText::Find(file, &keys);
    Require(keys.Size() <= text.found, "each key in the list was found");
    Require(text.found > keys.Size() ? keys.IsFull() : true, "each key that is found is listed");
    Require((text.mistyped > 0) != text.firstMistake.empty(), "a mistake has a place");
    Require(!HasDigitsOfAKey(text.firstMistake), "no detail has the digits of a key");
    for (size_t key = 0; key < keys.Size(); ++key)
        Require(keys.At(key).identifiers.size() <= KeyList::kMostIdentifiers,
                "a key has few identifiers");
    const size_t found = keys.Size();
    keys.MergeEqual();
    Require(keys.Size() <= found && (found == 0) == (keys.Size() == 0), "equal keys become one");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const HeapLimit limit;
    Search({data, size});
    const std::string right = WithRightGroups({data, size});
    Search({reinterpret_cast<const uint8_t *>(right.data()), right.size()});
    return 0;
}
