#include "UsageText.h"

#define VX_USAGE                                                                                   \
    "Usage: volume-export --list [OPTION...] VOLUME [--unlock KIND SECRET] [PATH...]\n"            \
    "       volume-export --to DEST [OPTION...] VOLUME [--unlock KIND SECRET] [PATH...]\n"         \
    "       volume-export --raw FILE [OPTION...] VOLUME [--unlock KIND SECRET]\n"

namespace vx {

const char kUsageText[] = VX_USAGE "Try \"volume-export --help\" for more.\n";

const char kHelpText[] = VX_USAGE R"(
Lists the files of a volume, or exports them: copies them to a folder of this machine.
With --raw it writes the volume itself, decrypted, to a file.

  VOLUME                what to open: a folder, a device or a disk image
  PATH                  files or folders of the volume, e.g. /Reports/2019; without any,
                        everything. The leading "/" may be omitted.
  --unlock KIND SECRET  how to unlock the volume (default: none, with an empty secret).
                        KIND: password, recovery (the 48 digits); vmk or fvek (a key as
                        hexadecimal digits, or the path of its file); startup-key,
                        recovery-file or key-ring (a path).
                        A SECRET of "-" is asked for on the terminal, without echo, or
                        read as one line from standard input; "@FILE" is the first line
                        of FILE, "fd:N" a line of the inherited descriptor N. Other users
                        can see one given here.
  --                    all that follows is VOLUME and PATHs

Listing
  --list                one row for each entry: type, size, date, path. A folder shows its
                        entries, a file itself. Sizes are rounded on a terminal and in
                        bytes elsewhere. Backslashes and control characters in names are
                        escaped: \\, \n, \x1b, \u202e
  --recursive           list everything below as well
  --json                one JSON object on each line: path, size in bytes, times in UTC,
                        attributes, named streams, whether it can be exported and if not,
                        why

Exporting
  --to DEST             export to the folder DEST, which is made if its parent folder
                        exists. /a/b.txt becomes DEST/a/b.txt, with its dates. A file that
                        exists already is replaced when its new copy is complete.
                        Permissions are not kept.
  --dry-run             write nothing to DEST; say how many files and bytes would be
                        exported, how many exist already, and whether there is room
  --streams             export the named streams of files, too, as NAME:STREAM
  --no-times            do not keep the dates of files and folders
  --no-empty-folders    make only folders that get a file
  --manifest FILE       write the SHA-256 of every exported file to FILE, in the form that
                        sha256sum checks
  --report FILE         write what was opened, exported and missed to FILE, as JSON
  --verify              read everything again from DEST afterwards, and compare it with
                        what was written
  --resume              leave out the files that an earlier export has completed: those of
                        the same size and date and, with --manifest, the same SHA-256
  --sync                make each file durable before it is reported as exported
  --verbose             name everything that is only counted otherwise: links that were not
                        followed, files that are in the cloud, every range of a file that
                        could not be read
  --no-space-check      begin even if there is not enough room, and export what fits

The decrypted volume
  --raw FILE            write every byte of the volume to FILE, decrypted, whatever file
                        system is in it. Long runs of zeros become holes. What cannot be
                        read is zeros, and is reported. FILE is replaced when it is complete.
                        Goes with --dry-run, --manifest, --report, --verify, --sync,
                        --verbose, --no-space-check and the options for failing disks

Choosing what is listed or exported
  --include PATTERN     names to choose and to leave out; of all --include and --exclude
  --exclude PATTERN     the first that matches decides. Patterns are those of rsync:
                        "*.bak", "/Temp", "cache/", "a/**/b", "/Users/***". An excluded
                        folder is not entered.
  --min-size SIZE       only files of at least, or at most, SIZE bytes: 4096, 10K, 4M, 2G
  --max-size SIZE       (in powers of 1024)
  --newer TIME          only files modified at TIME or later, or before TIME: 2019-03-02,
  --older TIME          2019-03-02T10:00 (local time), 2019-03-02T10:00:00Z, ...+01:00

Failing disks
  --map FILE            do not read what FILE, a map of GNU ddrescue, marks as not rescued
  --write-map FILE      write a map of the sectors that the export needs, which ddrescue
                        takes as its domain; also with --dry-run
  --retries N           read a place that failed up to N times more
  --skip-slow SECONDS   skip the surroundings of a read that took longer

Ctrl-C stops an export after at most 4 MiB more of each file in progress, and keeps the
complete files; a second one ends the program at once. Progress goes to standard error,
the summary to standard output.

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
