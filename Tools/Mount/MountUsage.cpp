#include "MountUsage.h"

#define VX_USAGE                                                                                   \
    "Usage: volume-mount [--background] [--allow-other] VOLUME [--unlock KIND SECRET] FOLDER\n"

namespace vx {

const char kMountUsage[] = VX_USAGE "Try \"volume-mount --help\" for more.\n";

const char kMountHelp[] = VX_USAGE R"(
Shows the files of VOLUME in FOLDER, read-only, until FOLDER is unmounted
("fusermount3 -u FOLDER" or "umount FOLDER") or the program is ended (Ctrl-C).

  VOLUME                what to open: a device, a disk image or a folder
  FOLDER                an empty folder of this machine
  --unlock KIND SECRET  how to unlock the volume (default: none, with an empty secret).
                        A SECRET of "-" is asked for on the terminal, without echo
  --background          return as soon as the volume is mounted
  --allow-other         let other users read it, too. For users other than the administrator
                        /etc/fuse.conf must have the line "user_allow_other"
  --                    all that follows is VOLUME and FOLDER, even if it begins with "-"
  --help, --version

A file of which a place cannot be read gives an error there, not zeros. A folder of which
entries are missing gives an error after those that it has. Links are shown and not followed.

Exit status
  0      unmounted, also by a signal; with --background: mounted
  1      the volume could not be mounted, or the connection to the kernel failed
  2      wrong use, no secret was given, or FOLDER cannot be used
  3      the volume did not open
  128+N  ended by signal N before it was mounted
)";

const char kMountVersion[] = "volume-mount " VX_VERSION "\n";

}  // namespace vx
