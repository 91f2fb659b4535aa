// The volume library, found beside the running program and loaded, for programs that do without
// Foundation.
//
// Ownership: the library stays loaded until the process ends, as its volumes do; a copy is the same
// library. Threads: any. Errors: one line without a line end, ready to follow "PROGRAM: ".
#pragma once

#include "DiskReport.h"
#include "VolumeOpeningOptions.h"
#include "VolumeReport.h"

#include <optional>
#include <string>

namespace vx {

class LoadedLibrary {
public:
    static std::optional<LoadedLibrary> BesideProgram(std::string *error);
    static std::optional<LoadedLibrary> At(const std::string &path, std::string *error);

    // For what takes the library's handle.
    void *Handle() const { return _handle; }
    OpenBitlockerDeviceFunction Entry() const { return _entry; }

    // The optional functions; each is null if the library is an older one without it.
    VolumeLibraryDescribeDiskFunction DescribeDisk() const
    {
        return Find<VolumeLibraryDescribeDiskFunction>("volume_library_describe_disk");
    }
    VolumeLibraryReleaseDiskReportFunction ReleaseDiskReport() const
    {
        return Find<VolumeLibraryReleaseDiskReportFunction>("volume_library_release_disk_report");
    }
    VolumeLibrarySearchDiskFunction SearchDisk() const
    {
        return Find<VolumeLibrarySearchDiskFunction>("volume_library_search_disk");
    }
    VolumeLibrarySetOpeningOptionsFunction SetOpeningOptions() const
    {
        return Find<VolumeLibrarySetOpeningOptionsFunction>("volume_library_set_opening_options");
    }
    VolumeLibraryDescribeFileSystemFunction DescribeFileSystem() const
    {
        return Find<VolumeLibraryDescribeFileSystemFunction>("volume_library_describe_file_system");
    }
    VolumeLibraryDescribeUnlockingFunction DescribeUnlocking() const
    {
        return Find<VolumeLibraryDescribeUnlockingFunction>("volume_library_describe_unlocking");
    }
    VolumeLibraryVisitRecoveryPasswordsFunction VisitRecoveryPasswords() const
    {
        return Find<VolumeLibraryVisitRecoveryPasswordsFunction>(
            "volume_library_visit_recovery_passwords");
    }

    // Any other function of the library's headers.
    template <typename Function>
    Function Find(const char *name) const
    {
        return reinterpret_cast<Function>(Symbol(name));
    }

private:
    LoadedLibrary(void *handle, OpenBitlockerDeviceFunction entry) : _handle(handle), _entry(entry)
    {
    }
    void *Symbol(const char *name) const;

    void *_handle;
    OpenBitlockerDeviceFunction _entry;
};

}  // namespace vx
