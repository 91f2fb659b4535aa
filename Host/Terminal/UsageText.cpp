#include "UsageText.h"

#define VX_USAGE                                                                                   \
    "Usage: volume-host [--explorer PATH] [--send CODE] VOLUME [--unlock KIND SECRET]\n"

namespace vx {

const char kUsageText[] = VX_USAGE "Try \"volume-host --help\" for more.\n";

const char kHelpText[] = VX_USAGE R"(
Starts the volume explorer on VOLUME, waits for its quit notice or its end, reports
in one line which of the two came, and removes the FIFOs of the link.

  VOLUME                what to open: a folder, a device or a disk image
  --unlock KIND SECRET  how to unlock the volume (default: none, with an empty secret).
                        KIND: password, recovery (the 48 digits); vmk or fvek (a key as
                        hexadecimal digits, or the path of its file); startup-key,
                        recovery-file or key-ring (a path).
                        A SECRET of "-" is asked for on the terminal, without echo; "@FILE"
                        is the first line of FILE, "fd:N" a line of the inherited
                        descriptor N
  --explorer PATH       start this program instead of the explorer beside this one
  --send CODE           send the explorer one message with this command code
  --                    all that follows is VOLUME, even if it begins with "-"
  --help, --version

"VOLUME KIND SECRET" is accepted too and means "VOLUME --unlock KIND SECRET".

A secret given on the command line stays in the shell's history, and other users can see
it in the list of processes for a moment; use -, @FILE or fd:N instead. The explorer gets
the secret, or the key that it leads to, over a private channel, not as an argument.

Exit status
  0    the explorer sent its quit notice and ended
  1    the explorer ended without a quit notice
  2    wrong use, or no secret was given
  3    the link is taken: another host is running, or its paths are in the way
  4    the explorer could not be started, or there is no terminal to ask on
  5    the explorer sent its quit notice but did not end, and was ended
  6    the message of --send could not be sent
  7    as 0, but the volume did not give everything, or reports of that got lost
  8    as 0, but the volume did not open, and the window was empty
  128+N  interrupted by signal N; the explorer was ended, or never started
)";

const char kVersionText[] = "volume-host " VX_VERSION "\n";

}  // namespace vx
