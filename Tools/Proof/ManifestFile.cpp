#include "ManifestFile.h"

#include "ReplacementFile.h"
#include "TerminalText.h"

#include <cstring>

namespace vx {

bool WriteManifest(const std::string &file, const RecordSource &next, std::string *error)
{
    ReplacementFile replacement(file);
    ManifestRecord record;
    bool done = replacement.Create();
    while (done && next(&record))
        replacement.Write(TextOf(record));
    done = done && replacement.Deliver();
    if (!done)
        *error = "cannot write the hash list " + TerminalText(file) + ": " +
                 strerror(replacement.Error());
    return done;
}

}  // namespace vx
