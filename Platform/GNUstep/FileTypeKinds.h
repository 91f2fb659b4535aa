// The kind of file that an extension stands for; there is one icon for each kind. Pure functions
// over constant tables; any thread.
#pragma once

#include <string_view>

namespace vx {

enum class FileTypeKind {
    kGeneric,
    kDocument,
    kText,
    kImage,
    kAudio,
    kVideo,
    kArchive,
    kProgram,
    kPdf,
    kSpreadsheet,
    kPresentation,
    kCode,
};

constexpr int kFileTypeKindCount = 12;

// The kind of an extension without its dot, in any mix of capitals; kGeneric for "" and what is not
// known. kindOfFileType("JPG") → FileTypeKind::kImage
FileTypeKind kindOfFileType(std::string_view extension);

// The picture's name in the application's resources. imageNameOfKind(FileTypeKind::kPdf) →
// "file-pdf"
const char *imageNameOfKind(FileTypeKind kind);

}  // namespace vx
