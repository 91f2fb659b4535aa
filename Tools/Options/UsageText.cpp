#include "UsageText.h"

#define VX_USAGE                                                                                   \
    "Usage: volume-export --list [--recursive] [--json] VOLUME [--unlock KIND SECRET] [PATH...]\n" \
    "       volume-export --to DEST [--verify] [--verbose] [--no-space-check] VOLUME\n"            \
    "                     [--unlock KIND SECRET] [PATH...]\n"

namespace vx {

const char kUsageText[] = VX_USAGE "Try \"volume-export --help\" for more.\n";

const char kHelpText[] = VX_USAGE R"(
Lists the files of a volume, or exports them: copies them to a folder of this machine.

  VOLUME                what to open: a folder, a device or a disk image
  PATH                  files or folders of the volume, e.g. /Reports/2019; without any,
                        everything. The leading "/" may be omitted.
  --unlock KIND SECRET  how to unlock the volume (default: none, with an empty secret).
                        A SECRET of "-" is asked for on the terminal, without echo, or
                        read as one line from standard input; other users can see one
                        given here.
  --                    all that follows is VOLUME and PATHs

Listing
  --list                one row for each entry: type, size, date, path. A folder shows its
                        entries, a file itself. Sizes are rounded on a terminal and in
                        bytes elsewhere. Backslashes and control characters in names are
                        escaped: \\, \n, \x1b, \u202e
  --recursive           list everything below as well
  --json                one JSON object on each line: path, size in bytes, times in UTC,
                        attributes, whether it can be exported and if not, why

Exporting
  --to DEST             export to the folder DEST, which is made if its parent folder
                        exists. /a/b.txt becomes DEST/a/b.txt. A file that exists already
                        is replaced when its new copy is complete; dates and permissions
                        are not kept; folders without files are not made.
  --verify              read everything again afterwards, and compare
  --verbose             name everything that is only counted otherwise: links that were not
                        followed, files that are packed or in the cloud, every range of a
                        file that could not be read
  --no-space-check      begin even if there is not enough room, and export what fits
Ctrl-C stops an export after at most 4 MiB more and keeps the complete files; a second one
ends the program at once. Progress goes to standard error, the summary to standard output.

  --help, --version

Exit status
  0    everything was listed, or all files have arrived
  1    something is missing or damaged; the messages name it
  2    wrong use, no secret was given, or DEST cannot be used or has not enough room
  3    the volume did not open
  128+N  stopped by signal N, e.g. 130 by Ctrl-C, with files missing, or 141 when the
       reader of the list ended early
)";

const char kVersionText[] = "volume-export " VX_VERSION "\n";

}  // namespace vx
