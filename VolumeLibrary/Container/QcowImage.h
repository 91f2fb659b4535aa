// QCOW2 images of versions 2 and 3, with a backing file and an external data file if they have
// one.
//
// A backing file is looked for under the rules of ParentImage.h, and an external data file under
// those of FileBeside.h. Reference counts do not matter for reading; the highest cluster that they
// count shows how long the file must be. Internal snapshots are not looked at. Version 1 and an
// encrypted image are refused by name.
//
// Memory: that of QcowDisk.
#pragma once

#include "Container.h"
#include "ParentImage.h"

namespace vx {

// Opens a file that lies beside the image, by its name.
using FileOpener =
    std::function<Result<std::shared_ptr<const ByteSource>>(const std::string &name)>;

// Opens the external data file of the image at this path.
FileOpener DataFileBeside(const std::string &path);

// Notes: of a file that is too short, and an image that is marked as corrupt. Errors: those of
// ReadQcowHeader, of the parents and of the data file.
Result<Container> OpenQcow(const std::shared_ptr<const ByteSource> &file,
                           const ParentOpener &parents, const FileOpener &openData);

}  // namespace vx
