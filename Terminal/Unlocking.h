// How a volume is unlocked, as a command line has it: "--unlock KIND SECRET".
//
// A SECRET of "-" is asked for; "@FILE" is the first line of a file; "fd:N" is a line of a
// descriptor that the program has inherited. Any other is the secret itself, which other users of
// the machine can see in the list of processes until HideIn is called, and in what has recorded
// that list. For a kind whose secret is a path, such a line is the path. Threads: one at a time.
// Errors: one line without a line end, which does not repeat the secret.
#pragma once

#include <string>
#include <vector>

namespace vx {

struct Unlocking {
    static constexpr int kNoDescriptor = -1;

    std::string kind = "none";
    std::string secret;              // as given; empty if it comes from elsewhere
    bool asksSecret = false;         // "-"
    std::string secretFile;          // of "@FILE"; empty otherwise
    int descriptor = kNoDescriptor;  // of "fd:N"

    // Takes the secret, or what stands in its place. Call it before the program opens anything: a
    // descriptor counts as inherited if it is open and would be inherited further, which it is not
    // from then on. False: error says why.
    bool Take(const char *word, std::string *error);

    // Overwrites the secret among the words of the command line, so that it is no longer seen in
    // the list of processes; the path of a file of keys stays.
    void HideIn(char **words) const;

    // Those of the files that an opening with this secret reads, besides the volume, which are
    // there: that of "@FILE", and the file or folder of a kind whose secret is a path.
    std::vector<std::string> KeyPaths(const char *givenSecret) const;

private:
    bool TakeDescriptor(const char *number, std::string *error);
};

}  // namespace vx
