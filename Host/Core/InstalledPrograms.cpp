#include "HostRequest.h"
#include "PathText.h"
#include "ProgramFolder.h"

namespace vx {
namespace {

// "/x/A.app/Contents/Programs" -> "/x"; a folder that is in no bundle stays.
std::string FolderOfBundle(const std::string &folder)
{
    const std::string whole = folder + "/";
    const size_t end = whole.rfind(".app/");
    return end == std::string::npos ? folder : FolderOf(whole.substr(0, end));
}

}  // namespace

HostPrograms InstalledPrograms()
{
    const std::string own = ProgramFolder();
    if (own.empty())
        return {};
    const std::string folder = FolderOfBundle(own);
    return {folder + "/" VX_EXPLORER, folder + "/volume-trial", folder + "/volume-info"};
}

}  // namespace vx
