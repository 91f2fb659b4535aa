"""Faults for an ideal export, each with the complaint that the judge must have about it."""
import json
import os

import destination

LOST = b"Users/anna/lost/"
SMALL = b"Windows/WinSxS/amd64_00001/"


class PlantedFaults:
    def __init__(self, ideal):
        self._ideal = ideal
        self._small = sorted(path for path, entry in ideal.truth.items()
                             if path.startswith(SMALL) and entry.get("size", 0) > 1000)
        self.expected = []    # beginnings of complaints

    def _expect(self, path, what):
        self.expected.append("%s: %s" % (path.decode(), what))

    def _write(self, path, at, data):
        """Writes into a file; its times stay."""
        place = self._ideal.place(path)
        status = os.stat(place)
        with open(place, "r+b") as file:
            os.pwrite(file.fileno(), data, at)
        os.utime(place, ns=(status.st_atime_ns, status.st_mtime_ns))

    def _in_folder(self, path, change):
        """Changes the entries of a folder; its times stay."""
        place = os.path.dirname(self._ideal.place(path))
        status = os.stat(place)
        change(self._ideal.place(path))
        os.utime(place, ns=(status.st_atime_ns, status.st_mtime_ns))

    def _shift_times(self, path, accessed, modified):
        place = self._ideal.place(path)
        status = os.stat(place)
        os.utime(place, ns=(status.st_atime_ns + accessed, status.st_mtime_ns + modified))

    def plant_in_tree(self):
        self._wrong_bytes()
        self._wrong_times()
        self._wrong_entries()
        self._wrong_losses()
        return self.expected

    def _wrong_bytes(self):
        path = self._small.pop()
        with destination.open_quietly(self._ideal.place(path)) as file:
            byte = file.read(1)
        self._write(path, 0, bytes([byte[0] ^ 1]))
        self._expect(path, "has other bytes")
        path = self._small.pop()
        size = self._ideal.truth[path]["size"]
        self._write(path, size, b"x")
        self._expect(path, "has %d bytes" % (size + 1))

    def _wrong_times(self):
        for accessed, modified, name in ((100, 0, "access"), (0, -100, "modification")):
            path = self._small.pop()
            self._shift_times(path, accessed, modified)
            self._expect(path, "its time of " + name)
        self._shift_times(b"Users/anna/empty/two", 0, 100)
        self._expect(b"Users/anna/empty/two", "its time of modification")

    def _wrong_entries(self):
        for path in (self._small.pop(), b"Users/anna/streams/download3.zip:Zone.Identifier"):
            self._in_folder(path, os.unlink)
            self._expect(path, "missing")
        self._in_folder(b"Users/anna/empty/one", os.rmdir)
        self._expect(b"Users/anna/empty/one", "missing")
        for path, what in ((SMALL + b".left.dll.partial", "nothing on the volume"),
                           (LOST + b"record.txt", "is there")):
            self._in_folder(path, lambda place: open(place, "wb").close())
            self._expect(path, what)
        self._expect(LOST + b"record.txt", "nothing on the volume")
        path = self._small.pop()
        place = self._ideal.place(path)
        self._in_folder(path, lambda place: os.link(place, os.fsencode(self._ideal.copy) + b"-link"))
        self._expect(path, "is no file of its own")

    def _wrong_losses(self):
        lost = self._ideal.truth[LOST + b"middle.mov"]["lost"]["most"]
        self._write(LOST + b"middle.mov", lost[0][0] + 5, b"x")
        self._expect(LOST + b"middle.mov", "byte %d is neither" % (lost[0][0] + 5))
        begin, end = self._ideal.truth[LOST + b"linked.doc"]["lost"]["most"][0]
        self._write(LOST + b"linked.doc", begin, self._ideal.tree.kept[LOST + b"linked.doc"][begin:end])
        self._expect(LOST + b"linked.doc", "bytes %d to %d are not zero" % (begin, end - 1))
        self._write(LOST + b"end.doc", 512, bytes(512))
        self._expect(LOST + b"end.doc", "bytes 512 to 1023 are wrong")

    def plant_in_report(self):
        """What is told wrongly although the tree is right."""
        self.expected = []
        told = json.loads(self._ideal.report.read_text())
        failures = {failure["path"]: failure for failure in told["failures"]}
        del failures["/Users/anna/lost/all.txt"]
        self._expect(LOST + b"all.txt", "the report does not name it")
        path = self._small.pop()
        failures["more"] = {"path": "/" + path.decode(), "unread": [], "reason": ""}
        self._expect(path, "the report names it")
        self._expect(path, "the report gives no reason")
        failures["/Users/anna/lost/two places.pdf"]["unread"].pop()
        self._expect(LOST + b"two places.pdf", "the report knows nothing of bytes")
        self._expect(LOST + b"two places.pdf", "the report lacks bytes")
        failures["/Users/anna/lost/linked.doc"]["unread"][0]["length"] += 1
        self._expect(LOST + b"linked.doc", "the report gives up too much")
        told.update(failures=list(failures.values()), status=0, notCopied=["/a"])
        self._expect(b"status", "1, in the report 0")
        self._expect(b"report", "notCopied is")
        self._ideal.report.write_text(json.dumps(told))
        return self.expected

    def plant_in_manifest(self):
        self.expected = []
        lines = self._ideal.manifest.read_bytes().splitlines(keepends=True)
        gone = self._small.pop()
        lines = [line for line in lines if gone not in line]
        self._expect(gone, "the hash list does not name it")
        lines[0] = (b"0" if lines[0][:1] != b"0" else b"1") + lines[0][1:]
        self._expect(b"sha256sum", "")
        lines.append(lines[1])
        self._expect(b"hash list", "names a file twice")
        self._ideal.manifest.write_bytes(b"".join(lines))
        return self.expected
