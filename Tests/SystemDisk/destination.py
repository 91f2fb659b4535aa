"""What stands in the destination of an export: read once, times before contents."""
import hashlib
import os
import stat


class Found:
    def __init__(self, status):
        self.is_folder = stat.S_ISDIR(status.st_mode)
        self.is_file = stat.S_ISREG(status.st_mode)
        self.size = status.st_size
        self.modified, self.accessed = status.st_mtime_ns, status.st_atime_ns
        self.changed = status.st_ctime_ns
        self.names = status.st_nlink


def walk(folder):
    """By path (bytes, relative) what is there; no access time changes."""
    found, folders = {}, [b""]
    while folders:
        inside = folders.pop()
        descriptor = os.open(os.path.join(os.fsencode(folder), inside),
                             os.O_RDONLY | os.O_DIRECTORY | os.O_NOATIME)
        with os.scandir(descriptor) as entries:
            for entry in entries:
                path = os.path.join(inside, os.fsencode(entry.name))
                found[path] = Found(entry.stat(follow_symlinks=False))
                if found[path].is_folder:
                    folders.append(path)
        os.close(descriptor)
    return found


def open_quietly(path):
    """For reading, without a new access time."""
    return open(os.open(path, os.O_RDONLY | os.O_NOATIME | os.O_NOFOLLOW), "rb", buffering=0)


def sha256(path):
    digest = hashlib.sha256()
    with open_quietly(path) as file:
        while piece := file.read(1 << 20):
            digest.update(piece)
    return digest.hexdigest()


def longest_name(folder):
    return os.pathconf(folder, "PC_NAME_MAX")
