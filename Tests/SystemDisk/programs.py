"""The programs of the system that make disks, and how they are run."""
import os
import shutil
import subprocess
import time

import packed_file

NEEDED = ("mkntfs", "ntfs-3g", "mkfs.fat", "mcopy", "sfdisk", "ddrescue", "ddrescuelog", "sha256sum")
_PATH = os.environ.get("PATH", "") + ":/usr/sbin:/sbin"


def missing():
    """What keeps the disk from being made here, or None."""
    for name in NEEDED:
        if not shutil.which(name, path=_PATH):
            return "the program " + name
    if not packed_file.library():
        return "libwim"
    if os.geteuid() != 0 or not os.access("/dev/fuse", os.R_OK | os.W_OK):
        return "mounting with FUSE, as root"
    return None


def run(*words, **more):
    """Runs a program to its end; what it prints appears only with its failure."""
    words = [str(word) for word in words]
    words[0] = shutil.which(words[0], path=_PATH) or words[0]
    done = subprocess.run(words, capture_output=True, **more)
    if done.returncode:
        raise RuntimeError("%s\n%s" % (" ".join(words), done.stderr.decode(errors="replace")))
    return done.stdout


class MountedNtfs:
    """An image, mounted for a `with`; written completely after it."""

    def __init__(self, image, at):
        self._image, self._at = str(image), str(at)

    def __enter__(self):
        os.makedirs(self._at)
        options = "no_detach,streams_interface=windows,compression,big_writes,noatime"
        self._server = subprocess.Popen(["ntfs-3g", "-o", options, self._image, self._at],
                                        stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        while not os.path.ismount(self._at):
            if self._server.poll() is not None:
                raise RuntimeError(self._server.stderr.read().decode(errors="replace"))
            time.sleep(0.01)
        return self._at

    def __exit__(self, *failure):
        run("umount", self._at)
        if self._server.wait() and not failure[0]:
            raise RuntimeError("ntfs-3g failed")
        self._server.stderr.close()
        os.rmdir(self._at)
