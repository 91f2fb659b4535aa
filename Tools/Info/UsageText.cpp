#include "UsageText.h"

#define VX_USAGE                                                                                   \
    "Usage: volume-info [--json] VOLUME [--unlock KIND SECRET] [--show-recovery-password]\n"       \
    "       volume-info [--json] --search VOLUME\n"

namespace vx {

const char kUsageText[] = VX_USAGE "Try \"volume-info --help\" for more.\n";

const char kHelpText[] = VX_USAGE R"(
Says what is on a disk or an image: its partitions, how each encrypted volume is encrypted,
and what opens it. Nothing is written, and no secret is needed.

  VOLUME                a device or a disk image, or with #2 or @OFFSET after it a volume of
                        it
  --unlock KIND SECRET  unlock the volume and say what its file system is, too. Without it,
                        the report says which kinds open the volume. A SECRET of "-" is asked
                        for on the terminal, without echo, or read as one line from standard
                        input; "@FILE" is the first line of FILE, "fd:N" a line of the inherited
                        descriptor N. Other users can see one given here.
  --show-recovery-password
                        print the recovery passwords of the unlocked volume. Whoever has one
                        of them can open the volume.
  --json                print one JSON document
  --search              read the whole disk and find encrypted volumes whose beginning, or
                        whose table of partitions, is lost. Ctrl-C ends the search and shows
                        what was found until then.
  --                    all that follows is VOLUME
  --help, --version

The report goes to standard output, progress and warnings go to standard error. Backslashes
and control characters in texts of the disk are escaped: \\, \n, \x1b, \u202e

Exit status
  0    everything was shown; damage that was noticed is a warning
  1    something is missing: recovery passwords that cannot be read, places of the disk that
       could not be searched, volumes left out of the list, or the report itself could not be
       written
  2    wrong use, or no secret was given
  3    the disk or the volume did not open
  128+N  ended by signal N, e.g. 130 by Ctrl-C
)";

const char kVersionText[] = "volume-info " VX_VERSION "\n";

}  // namespace vx
