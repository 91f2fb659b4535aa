// What the suites of the core share: a scripted volume, the catalogue on it, and the short way
// from records and paths to what a test compares.
#pragma once

#import <Foundation/Foundation.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ScriptedVolume.h"
#import "Z5FileExplorerWapper.h"
#import "Z5FindData.h"

using vx::Fault;
using vx::ScriptedEntry;
using vx::VolumeOperation;

// "(nil)" for nil.
std::string Utf8(NSString *text);
NSString *Text(const std::string &utf8);
std::vector<std::string> Names(NSArray *entries);
// The entry of that name; nil, and a failure, if there is none.
Z5FindData *Named(NSArray *entries, const std::string &name);
// A record as a volume would report it.
VolumeFindData RecordOf(const std::u16string &name, uint32_t attributes = 0x20, uint64_t size = 0,
                        uint64_t modified = vx::kScriptedTime);
Z5FindData *EntryOf(const VolumeFindData &record);

// The catalogue is made by open(), after the test has built its tree.
class CoreTest : public ::testing::Test {
protected:
    void TearDown() override;

    ScriptedEntry &Root() { return volume.Root(); }
    Z5FileExplorerWapper *Open();
    // The entry at names below the root, listing the folders on the way.
    Z5FindData *At(const std::vector<std::string> &names);

    vx::ScriptedVolume volume;
    Z5FileExplorerWapper *explorer = nil;
};
