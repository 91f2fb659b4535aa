#include "FileTypeKinds.h"

#include <algorithm>
#include <string>
#include <unordered_map>

namespace vx {
namespace {

struct KindEntry {
    FileTypeKind kind;
    const char *imageName;
    // Separated by single blanks, in small letters.
    std::string_view extensions;
};

// In the order of FileTypeKind. An extension stands once, with what most people know it for.
constexpr KindEntry kKinds[] = {
    {FileTypeKind::kGeneric, "file-generic", ""},
    {FileTypeKind::kDocument, "file-document",
     "doc docx docm dot dotx dotm odt ott fodt rtf pages wpd wps wri abw sxw stw hwp hwpx lwp epub "
     "mobi azw azw3 fb2 djvu djv xps oxps ps eps indd indt pub qxd qxp sla msg eml emlx mbox pst ost "
     "one onepkg vsd vsdx vdx odg fodg gdoc tex ltx lyx bib"},
    {FileTypeKind::kText, "file-text",
     "txt text md markdown mkd rst adoc asciidoc org log readme nfo diz me 1st asc srt sub vtt ass ssa "
     "ini cfg conf config cnf properties plist reg inf url desktop service po ics vcf vcs ldif csl "
     "license changes toc lst list"},
    {FileTypeKind::kImage, "file-image",
     "jpg jpeg jpe jfif jp2 j2k jpf jpx jxl png apng gif bmp dib tif tiff webp heic heif avif ico icns "
     "cur svg svgz psd psb ai xcf kra ora cdr cpt raw dng cr2 cr3 crw nef nrw arw srf sr2 orf rw2 raf "
     "pef srw x3f 3fr erf mef mos mrw kdc dcr tga pcx pbm pgm ppm pnm xbm xpm exr hdr dds wmf emf sketch "
     "fig afphoto afdesign pict pct thm"},
    {FileTypeKind::kAudio, "file-audio",
     "mp3 mp2 m4a m4b m4p aac flac wav wave ogg oga opus wma aif aiff aifc au snd amr awb ape alac dsf "
     "dff mka mid midi kar rmi mod xm s3m it ra ram ac3 dts eac3 mpc tta wv voc caf gsm spx m3u m3u8 pls "
     "xspf cda aup aup3 band flp als"},
    {FileTypeKind::kVideo, "file-video",
     "mp4 m4v mov qt avi mkv webm wmv asf flv f4v mpg mpeg mpe m1v m2v mpv m2ts mts vob ifo 3gp 3g2 ogv "
     "ogm rm rmvb divx xvid dv mxf swf wtv dvr-ms amv mjpeg mjpg h264 h265 hevc 264 265 y4m prproj aep "
     "imovieproj fcpbundle veg kdenlive"},
    {FileTypeKind::kArchive, "file-archive",
     "zip zipx rar 7z tar gz tgz bz2 tbz tbz2 xz txz lz tlz lzma lzo zst tzst z taz cab arj lzh lha ace "
     "arc zoo sit sitx hqx cpio shar iso img nrg mdf mds cue bin toast dmg vhd vhdx vmdk vdi qcow qcow2 "
     "ova ovf wim esd swm deb rpm pkg apk aab ipa xpi crx jar war ear cbz cbr cb7 bak bkf tib gho ad1 e01 "
     "ex01 dd 001 002 003 old"},
    {FileTypeKind::kProgram, "file-program",
     "exe com bat cmd msi msix appx msp msu scr dll sys drv ocx cpl app bundle so dylib o ko a lib elf "
     "run appimage flatpak snap bash sh zsh csh ksh fish ps1 psm1 psd1 vbs vbe wsf wsh lnk pif gadget "
     "command workflow scpt action efi rom"},
    {FileTypeKind::kPdf, "file-pdf", "pdf fdf xfdf pdp"},
    {FileTypeKind::kSpreadsheet, "file-spreadsheet",
     "xls xlsx xlsm xlsb xlt xltx xltm xlw xla xlam ods ots fods sxc stc csv tsv tab numbers gsheet gnumeric "
     "dif slk wk1 wk3 wk4 wks wq1 123 qpw mdb accdb accde mde odb dbf sqlite sqlite3 db db3 sav dta"},
    {FileTypeKind::kPresentation, "file-presentation",
     "ppt pptx pptm pot potx potm pps ppsx ppsm ppa ppam odp otp fodp sxi sti key keynote gslides show "
     "shw prz"},
    {FileTypeKind::kCode, "file-code",
     "c h cc cpp cxx c++ hh hpp hxx h++ ipp inl m mm swift java kt kts scala groovy gradle cs vb fs fsx go "
     "rs d zig nim py pyw pyx pyi ipynb rb erb pl pm t php phtml lua tcl r rmd jl hs lhs ml mli ex exs erl "
     "hrl clj cljs cljc edn lisp lsp el scm rkt pas pp dpr f f77 f90 f95 for cob cbl ada adb ads asm s nasm "
     "v sv vhdl js jsx mjs cjs ts tsx vue svelte html htm xhtml shtml mhtml css scss sass less xml "
     "xsl xslt xsd dtd json json5 jsonc jsonl yaml yml toml sql graphql gql proto thrift cmake mk mak "
     "makefile ninja bazel bzl dockerfile tf tfvars hcl nix xib nib storyboard ui qml pro sln csproj "
     "vbproj vcxproj vcproj xcodeproj pbxproj diff patch asp aspx jsp cgi awk sed bas cls frm dart glsl "
     "hlsl cu cuh cl metal wat wasm ahk au3 applescript"},
};

using KindsByExtension = std::unordered_map<std::string_view, FileTypeKind>;

void addExtensions(KindsByExtension &kinds, const KindEntry &entry)
{
    std::string_view rest = entry.extensions;
    while (!rest.empty()) {
        const size_t end = std::min(rest.find(' '), rest.size());
        kinds.emplace(rest.substr(0, end), entry.kind);
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
}

const KindsByExtension &kindsByExtension()
{
    static const KindsByExtension kinds = [] {
        KindsByExtension made;
        for (const KindEntry &entry : kKinds)
            addExtensions(made, entry);
        return made;
    }();
    return kinds;
}

}  // namespace

FileTypeKind kindOfFileType(std::string_view extension)
{
    std::string small(extension);
    for (char &letter : small) {
        if (letter >= 'A' && letter <= 'Z')
            letter = static_cast<char>(letter - 'A' + 'a');
    }
    const auto found = kindsByExtension().find(small);
    return found == kindsByExtension().end() ? FileTypeKind::kGeneric : found->second;
}

const char *imageNameOfKind(FileTypeKind kind)
{
    return kKinds[static_cast<int>(kind)].imageName;
}

}  // namespace vx
