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
                        KIND: password, recovery (the 48 digits); vmk or fvek (a key as
                        hexadecimal digits, or the path of its file); startup-key,
                        recovery-file or key-ring (a path).
                        A SECRET of "-" is asked for on the terminal, without echo, or
                        read as one line from standard input; "@FILE" is the first line
                        of FILE, "fd:N" a line of the inherited descriptor N. Other users
                        can see one given here.
  --background          return as soon as the volume is mounted
  --allow-other         let other users read it, too. If a user other than the administrator
                        gives it, /etc/fuse.conf must have the line "user_allow_other"
  --                    all that follows is VOLUME and FOLDER, even if it begins with "-"
  --help, --version

A file of which a place cannot be read gives an error there, not zeros. A folder of which
entries are missing gives an error after those that it has. Links are shown and not followed.

Exit status
  0      unmounted, also by a signal; with --background: mounted
  1      the volume could not be mounted, or the connection to the kernel failed
  2      wrong use, no secret was given, FOLDER cannot be used, or FUSE is missing
  3      the volume did not open
  128+N  ended by signal N before it was mounted
)";

const char kMountVersion[] = "volume-mount " VX_VERSION "\n";

}  // namespace vx
