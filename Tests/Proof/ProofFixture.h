// What the tests of proved exports share: a small folder to export, runs of the built program, and
// what lies in a destination afterwards.
#pragma once

#include "TemporaryFolder.h"
#include "ToolRun.h"

#include <gtest/gtest.h>
#include <map>
#include <string>
#include <vector>

namespace vx {

// One entry of a destination: "folder", or the contents of a file; and its modification time.
struct Found {
    std::string contents;
    int64_t seconds = 0;
    int64_t nanoseconds = 0;

    bool operator==(const Found &other) const
    {
        return contents == other.contents && seconds == other.seconds &&
               nanoseconds == other.nanoseconds;
    }
};

class ProofTest : public ::testing::Test {
protected:
    using Arguments = std::vector<std::string>;
    // By path relative to the folder.
    using Snapshot = std::map<std::string, Found>;
    struct Result {
        int status;
        std::string output;
        std::string errors;
    };

    // Exports _volume to the folder.
    Result Export(const std::string &to, const Arguments &more) const;
    // The same with variables of the environment, "NAME=VALUE".
    Result ExportWith(const Arguments &variables, const std::string &to,
                      const Arguments &more) const;
    // Any shell command, in a folder; what it prints on either stream.
    static Result Shell(const std::string &folder, const std::string &command);

    // A file of the volume with a date of its own.
    void AddFile(const std::string &path, const std::string &contents) const;
    static Snapshot SnapshotOf(const std::string &folder);
    static bool Exists(const std::string &path);

    TemporaryFolder _folder;
    const std::string _volume = _folder.MakeFolder("volume");
    const std::string _to = _folder.MakeFolder("to");
    const std::string _list = _folder.At("list");
    const std::string _journal = _folder.At(".list.journal");
    mutable int64_t _dates = 0;
};

// Where two snapshots differ, in words; empty if they do not.
std::string DifferenceOf(const std::map<std::string, Found> &expected,
                         const std::map<std::string, Found> &found);

}  // namespace vx
