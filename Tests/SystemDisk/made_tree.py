"""Fills a mounted NTFS volume and keeps the truth about it: what was written, never what was read back.

Paths are bytes, parts joined by "/", without one at the beginning. Times are in 100 ns since 1601. The
volume is mounted by ntfs-3g with streams_interface=windows.
"""
import hashlib
import os
import random
import struct

import packed_file

TICKS = 10_000_000
UNIX_EPOCH = 11644473600 * TICKS
_YEAR = int(365.2425 * 86400) * TICKS
FIRST_DATE = UNIX_EPOCH + 10 * _YEAR   # 1980
LAST_DATE = UNIX_EPOCH + 130 * _YEAR   # 2100


class MadeTree:
    def __init__(self, mounted):
        self._mounted = os.fsencode(mounted)
        self.random = random.Random(11)
        self.truth = {}       # path: entry
        self.folders = []     # their times change until all is written
        self._reparse = []    # (path, reparse data): the last thing that can be done to a file
        self.kept = {}        # path: contents, of what a test damages

    def _at(self, path):
        return self._mounted + b"/" + path

    def _times(self):
        return tuple(self.random.randrange(FIRST_DATE, LAST_DATE) for _ in range(3))

    def _note(self, path, kind, **more):
        created, modified, accessed = self._times()
        entry = {"kind": kind, "created": created, "modified": modified, "accessed": accessed,
                 "fate": "whole", **more}
        self.truth[path] = entry
        return entry

    def _set_times(self, path):
        entry = self.truth[path]
        self._set_attribute(path, "times", struct.pack(
            "<QQQ", entry["created"], entry["modified"], entry["accessed"]))

    def _set_attribute(self, path, name, value):
        os.setxattr(self._at(path), "system.ntfs_" + name, value)

    def _link(self, path, name):
        os.link(self._at(path), self._at(name))

    def noise(self, count):
        return self.random.randbytes(count)

    def folder(self, path):
        os.mkdir(self._at(path))
        self._note(path, "folder")
        self.folders.append(path)
        return path

    def _write(self, path, data):
        descriptor = os.open(self._at(path), os.O_CREAT | os.O_EXCL | os.O_WRONLY)
        with open(descriptor, "wb", buffering=0) as file:
            for at in range(0, len(data), 1 << 20):
                file.write(data[at:at + (1 << 20)])

    def file(self, path, data, keep=False):
        self._write(path, data)
        self._note(path, "file", size=len(data), sha256=hashlib.sha256(data).hexdigest())
        self._set_times(path)
        if keep:
            self.kept[path] = data
        return path

    def stream(self, path, name, data, keep=False):
        """A named stream of a file or folder that was made."""
        full = path + b":" + name
        with open(self._at(full), "wb", buffering=0) as file:
            file.write(data)
        owner = self.truth[path]
        self.truth[full] = dict(owner, kind="stream", size=len(data),
                                sha256=hashlib.sha256(data).hexdigest())
        if keep:
            self.kept[full] = data
        if owner["kind"] == "file":
            self._set_times(path)

    def other_name(self, path, name):
        self._link(path, name)
        self.truth[name] = dict(self.truth[path])
        if path in self.kept:
            self.kept[name] = self.kept[path]
        self._set_times(path)

    def extended_attributes(self, path, names):
        value = b""
        for name in names:
            body = self.noise(11)
            line = struct.pack("<BBH", 0, len(name), len(body)) + name + b"\0" + body
            line += bytes(-(len(line) + 4) % 4)
            value += struct.pack("<I", len(line) + 4) + line
        self._set_attribute(path, "ea", value)
        self._set_times(path)

    def compressing_folder(self, path):
        """What is made in it is compressed as NTFS compresses."""
        self.folder(path)
        self._set_attribute(path, "attrib", struct.pack("<I", 0x800))
        return path

    def sparse_file(self, path, size, pieces, keep=False):
        """pieces: (offset, bytes). The hash is of the pieces and of zeros between them."""
        digest, end = hashlib.sha256(), 0
        zeros = bytes(1 << 20)
        with open(self._at(path), "xb", buffering=0) as file:
            os.ftruncate(file.fileno(), size)
            for at, data in [*pieces, (size, b"")]:
                while end < at:
                    digest.update(zeros[:at - end])
                    end += min(len(zeros), at - end)
                os.pwrite(file.fileno(), data, at)
                digest.update(data)
                end += len(data)
        self._note(path, "file", size=size, sha256=digest.hexdigest())
        if keep:
            self.kept[path] = pieces
        self._set_times(path)

    def _write_packed(self, path, data, form):
        self._write(path, b"")
        with open(self._at(path + b":" + packed_file.STREAM.encode()), "wb") as file:
            file.write(packed_file.pack(data, form))
        os.truncate(self._at(path), len(data))

    def packed(self, path, data, form, keep=False):
        """A file packed by Windows: its data lies in a named stream."""
        self._write_packed(path, data, form)
        self._note(path, "file", size=len(data), sha256=hashlib.sha256(data).hexdigest())
        if keep:
            self.kept[path] = data
        self._reparse.append((path, packed_file.reparse_data(form)))

    def reparse_point(self, path, tag, data, kind, reason=None):
        """Makes a reparse point of an entry. reason: why its data cannot be had, if it cannot."""
        guid = b"" if tag & 0x80000000 else self.noise(16)   # of a maker's own tag
        header = struct.pack("<IHH", tag, len(data), 0) + guid
        self.truth[path].update(kind=kind)
        if reason:
            self.truth[path].update(fate="absent", reason=reason)
        self._reparse.append((path, header + data))

    def finish(self):
        for path, data in self._reparse:
            self._set_times(path)
            self._set_attribute(path, "reparse_data", data)
        reparse = {path for path, _ in self._reparse}
        for path in reversed(self.folders):
            if path not in reparse:
                self._set_times(path)
