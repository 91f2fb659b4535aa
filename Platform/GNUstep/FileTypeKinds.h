// Which kind of file an extension stands for, as far as the icons tell kinds apart. Pure functions
// over constant tables; any thread.
#pragma once

#include <string_view>

namespace vx {

enum class FileTypeKind {
    Generic,
    Document,
    Text,
    Image,
    Audio,
    Video,
    Archive,
    Program,
    Pdf,
    Spreadsheet,
    Presentation,
    Code,
};

constexpr int kFileTypeKindCount = 12;

// The kind of an extension without its dot, in any mix of capitals; Generic for "" and what is not
// known. kindOfFileType("JPG") → FileTypeKind::Image
FileTypeKind kindOfFileType(std::string_view extension);

// The picture's name in the application's resources. imageNameOfKind(FileTypeKind::Pdf) →
// "file-pdf"
const char *imageNameOfKind(FileTypeKind kind);

}  // namespace vx
