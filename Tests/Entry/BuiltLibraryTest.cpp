// The library as it is built, loaded the way that programs load it.
#include "TemporaryFolder.h"
#include "VolumeReader.h"

#include <cstdio>
#include <dlfcn.h>
#include <memory>

namespace vx {
namespace {

struct ClosePipe {
    void operator()(FILE *stream) const { pclose(stream); }
};

// The names of all symbols that the library defines for others.
std::vector<std::string> ExportedSymbols()
{
    const std::unique_ptr<FILE, ClosePipe> lines(
        popen(VX_LIST_EXPORTS " '" VX_LIBRARY "' 2>/dev/null", "r"));
    std::vector<std::string> names;
    char name[4096];
    while (lines && std::fscanf(lines.get(), "%4095s%*[^\n]", name) == 1)
        names.emplace_back(name);
    return names;
}

OpenBitlockerDeviceFunction LoadEntry(const char *path)
{
    // Never unloaded, as in the programs that use it.
    void *library = dlopen(path, RTLD_LAZY);
    EXPECT_NE(library, nullptr) << dlerror();
    void *entry = library != nullptr ? dlsym(library, "open_bitlocker_device") : nullptr;
    return reinterpret_cast<OpenBitlockerDeviceFunction>(entry);
}

void ExpectOpensAFolder(const char *path)
{
    const TemporaryFolder folder;
    folder.WriteFile("Reports/file", "through the library");
    const OpenBitlockerDeviceFunction entry = LoadEntry(path);
    ASSERT_NE(entry, nullptr);
    IVolume *volume = nullptr;
    ASSERT_EQ(entry(folder.Path().c_str(), "none", "", &volume), 0);
    ASSERT_NE(volume, nullptr);
    EXPECT_EQ(SortedNames(*volume, u"/*"), std::vector<std::u16string>{u"Reports"});
    EXPECT_EQ(ReadWholeFile(*volume, u"/Reports/file"), "through the library");
}

TEST(BuiltLibrary, ItIsFoundByItsNameAndOpensAFolder)
{
    ExpectOpensAFolder(VX_LIBRARY);
}

TEST(BuiltLibrary, ItLiesWhereABareToolLooksForIt)
{
    ExpectOpensAFolder(VX_BARE_TOOL_LIBRARY);
}

TEST(BuiltLibrary, ItsFileNameIsTheOneThatProgramsLookFor)
{
    const std::string path = VX_LIBRARY;
    EXPECT_EQ(path.substr(path.rfind('/')), "/libBitLockerWapper.dylib");
}

TEST(BuiltLibrary, ItExportsItsFunctionsAndNothingElse)
{
    const std::vector<std::string> expected = {
        VX_EXPORT_PREFIX "open_bitlocker_device",
        VX_EXPORT_PREFIX "volume_library_cancel_opening",
        VX_EXPORT_PREFIX "volume_library_describe_disk",
        VX_EXPORT_PREFIX "volume_library_describe_entry",
        VX_EXPORT_PREFIX "volume_library_describe_file_system",
        VX_EXPORT_PREFIX "volume_library_describe_listing",
        VX_EXPORT_PREFIX "volume_library_describe_unlocking",
        VX_EXPORT_PREFIX "volume_library_file_places",
        VX_EXPORT_PREFIX "volume_library_is_gone",
        VX_EXPORT_PREFIX "volume_library_last_error",
        VX_EXPORT_PREFIX "volume_library_open_stream",
        VX_EXPORT_PREFIX "volume_library_release_disk_report",
        VX_EXPORT_PREFIX "volume_library_search_disk",
        VX_EXPORT_PREFIX "volume_library_set_opening_options",
        VX_EXPORT_PREFIX "volume_library_unread_ranges",
        VX_EXPORT_PREFIX "volume_library_visit_master_key",
        VX_EXPORT_PREFIX "volume_library_visit_recovery_passwords",
        VX_EXPORT_PREFIX "volume_library_visit_streams",
        VX_EXPORT_PREFIX "volume_library_visit_tables_read"};
    EXPECT_EQ(ExportedSymbols(), expected);
}

}  // namespace
}  // namespace vx
