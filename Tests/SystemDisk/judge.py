"""Compares an export of the made system disk with the truth about it.

A complaint is one line. Nothing here asks the program: the truth comes from what was written, the hashes
are taken again, and the hash list is checked by sha256sum.
"""
import json
import os
import re
import subprocess

import destination
from made_tree import TICKS, UNIX_EPOCH


def bytes_of(text):
    return text.encode("utf-8", "surrogateescape")


def nanoseconds(ticks):
    return (ticks - UNIX_EPOCH) * (1_000_000_000 // TICKS)


class Judge:
    def __init__(self, made, folder):
        """made: the folder of make-system-disk; folder: the destination."""
        self._made, self._folder = made, os.fsencode(folder)
        with open(made / "truth.json", encoding="ascii") as file:
            entries = json.load(file)["entries"]
        self.truth = {bytes_of(entry["path"]): entry for entry in entries}
        self._found = destination.walk(folder)
        self._longest = destination.longest_name(folder)
        self._unclaimed = set(self._found)
        self.places = {}      # where each entry that arrived stands, by its path
        self.complaints = []

    def _complain(self, path, what):
        self.complaints.append("%s: %s" % (path.decode(errors="backslashreplace"), what))

    def file_count(self):
        return sum(entry["kind"] in ("file", "stream") for entry in self.truth.values())

    def judge_tree(self):
        """Everything that stands in the destination, and everything that does not."""
        for path, entry in self._parents_first():
            self._judge_entry(path, entry)
        for path in sorted(self._unclaimed):
            self._complain(path, "nothing on the volume is called so")

    def _parents_first(self):
        return sorted(self.truth.items(), key=lambda item: item[0].count(b"/"))

    def judge_names(self, newest):
        """In an export that was interrupted: each name stands for a whole file. Only the newest files
        are read, of the others the size is compared."""
        files = []
        for path, entry in self._parents_first():
            place = self._place_of(path)
            if place and entry["kind"] == "folder":
                self.places[path] = place
            if not place or entry["kind"] not in ("file", "stream") or entry["fate"] != "whole":
                continue
            files.append((self._found[place].changed, path, place))
            if self._found[place].size != entry["size"]:
                self._complain(path, "has %d bytes, not %d" % (self._found[place].size, entry["size"]))
        for _, path, place in sorted(files)[-newest:]:
            if destination.sha256(self._folder + b"/" + place) != self.truth[path]["sha256"]:
                self._complain(path, "has other bytes")

    def _judge_entry(self, path, entry):
        place = self._place_of(path)
        may_miss = entry["fate"] in ("absent", "zeros or absent") or entry["kind"] == "link"
        if place is None:
            if not may_miss:
                self._complain(path, "missing")
            return
        if entry["fate"] == "absent" or entry["kind"] == "link":
            self._complain(path, "is there, although it could not be read")
            return
        self._unclaimed.discard(place)
        self.places[path] = place
        self._judge_found(path, entry, place)

    def _place_of(self, path):
        """The entry in the destination for this path; names that are too long were cut."""
        folder, _, name = path.rpartition(b"/")
        if folder and folder not in self.places:
            return None
        inside = self.places[folder] + b"/" if folder else b""
        name = whole_characters(name)
        if len(name) <= self._longest:
            return inside + name if inside + name in self._found else None
        return self._cut(path, inside, name)

    def _cut(self, path, inside, name):
        wanted = self.truth[path].get("sha256")
        for place in sorted(self._unclaimed):
            if place.startswith(inside) and self._is_cut_of(place[len(inside):], name):
                if wanted is None or destination.sha256(self._folder + b"/" + place) == wanted:
                    return place
        return None

    def _is_cut_of(self, short, name):
        match = re.fullmatch(rb"([^/]+)~\d+(\.[^./]*)?", short, re.DOTALL)
        if not match or len(short) > self._longest:
            return False
        try:
            match[1].decode()   # no character may be cut in two
        except UnicodeDecodeError:
            return False
        return name.startswith(match[1]) and name.endswith(match[2] or b"")

    def _judge_found(self, path, entry, place):
        found = self._found[place]
        for text, name in (("modified", "modification"), ("accessed", "access")):
            if getattr(found, text) != nanoseconds(entry[text]):
                self._complain(path, "its time of %s is %d, not %d" % (
                    name, getattr(found, text), nanoseconds(entry[text])))
        if entry["kind"] == "folder":
            if not found.is_folder:
                self._complain(path, "is no folder")
            return
        if not found.is_file or found.names != 1:
            self._complain(path, "is no file of its own")
        elif found.size != entry["size"]:
            self._complain(path, "has %d bytes, not %d" % (found.size, entry["size"]))
        elif entry["fate"] == "whole":
            if destination.sha256(self._folder + b"/" + place) != entry["sha256"]:
                self._complain(path, "has other bytes")
        else:
            self._judge_bytes(path, entry, place)

    def _judge_bytes(self, path, entry, place):
        """A damaged file: right where it could be read, zero elsewhere."""
        for begin, end in self.wrong_ranges(path, place):
            if not any(a <= begin and end <= b for a, b in merged(entry["lost"]["most"])):
                self._complain(path, "bytes %d to %d are wrong" % (begin, end - 1))
        with destination.open_quietly(self._folder + b"/" + place) as file:
            for begin, end in entry["lost"]["most"]:
                self._judge_zeros(path, entry, file, begin, end)

    def _judge_zeros(self, path, entry, file, begin, end):
        expected = self._kept(entry, begin, end)
        here = os.pread(file.fileno(), end - begin, begin)
        for at, (is_, should) in enumerate(zip(here, expected)):
            if is_ and is_ != should:
                self._complain(path, "byte %d is neither right nor zero" % (begin + at))
                return
        for first, last in entry["lost"]["least"]:
            if begin <= first and last <= end and any(here[first - begin:last - begin]):
                self._complain(path, "bytes %d to %d are not zero" % (first, last - 1))

    def _kept(self, entry, begin, end):
        with open(self._made / "kept" / entry["kept"], "rb") as file:
            file.seek(begin)
            return file.read(end - begin)

    def wrong_ranges(self, path, place):
        """Where a damaged file differs from its truth, in blocks of 512 bytes."""
        block, wrong = 512, []
        with open(self._made / "kept" / self.truth[path]["kept"], "rb") as should, \
                destination.open_quietly(self._folder + b"/" + place) as is_:
            at = 0
            while expected := should.read(block << 8):
                here = is_.read(len(expected))
                if here != expected:
                    wrong += [(at + i, at + min(i + block, len(expected)))
                              for i in range(0, len(expected), block)
                              if here[i:i + block] != expected[i:i + block]]
                at += len(expected)
        return merged(wrong)

    def judge_manifest(self, manifest):
        """The hash list names every file that arrived, and sha256sum accepts it."""
        if not manifest.exists():
            self._complain(b"hash list", "is not there")
            return
        done = subprocess.run(["sha256sum", "--check", "--strict", os.fsencode(manifest)],
                              cwd=self._folder, capture_output=True)
        if done.returncode:
            lines = [line for line in done.stdout.splitlines() if not line.endswith(b": OK")]
            self._complain(b"sha256sum", b"; ".join(lines[:5] + [done.stderr]).decode(
                errors="backslashreplace"))
        with open(manifest, "rb") as file:
            listed = [listed_path(line) for line in file.read().splitlines()
                      if line and not line.startswith(b"#")]
        arrived = {place for path, place in self.places.items()
                   if self.truth[path]["kind"] != "folder"}
        self._compare_sets("hash list", set(listed), arrived)
        if len(set(listed)) != len(listed):
            self._complain(b"hash list", "names a file twice")

    def _compare_sets(self, what, is_, should):
        for path in sorted(is_ - should):
            self._complain(path, "the %s names it" % what)
        for path in sorted(should - is_):
            self._complain(path, "the %s does not name it" % what)

    def judge_report(self, report, status):
        """report: path of the JSON; status: with which the program ended."""
        if not report.exists():
            self._complain(b"report", "is not there")
            return
        with open(report, encoding="utf-8") as file:
            told = json.load(file)
        failures = {}   # by path, the ranges that are not read
        for failure in told["failures"]:
            if not failure["reason"]:
                self._complain(volume_path(failure["path"]), "the report gives no reason")
            failures.setdefault(volume_path(failure["path"]), []).extend(
                (part["offset"], part["offset"] + part["length"]) for part in failure["unread"])
        lost = {path for path, entry in self.truth.items()
                if entry["fate"] != "whole" and entry["kind"] != "link"}
        self._compare_sets("report", set(failures), lost)
        for path in lost & set(failures):
            self._judge_failure(path, failures[path])
        if status != 1 or told["status"] != 1:
            self._complain(b"status", "%d, in the report %d" % (status, told["status"]))
        for what in ("stoppedBy", "syncError", "errors", "notCopied", "notChecked"):
            if told[what]:
                self._complain(b"report", "%s is %r" % (what, told[what]))

    def _judge_failure(self, path, ranges):
        entry = self.truth[path]
        if "lost" not in entry or path not in self.places:
            return
        told = merged(ranges)
        for begin, end in self.wrong_ranges(path, self.places[path]):
            if not any(a < end and begin < b for a, b in told):
                self._complain(path, "the report knows nothing of bytes %d to %d" % (begin, end - 1))
        most = merged(entry["lost"]["most"])
        if not all(any(a <= begin and end <= b for a, b in most) for begin, end in told):
            self._complain(path, "the report gives up too much: %r, not %r" % (told, most))
        for begin, end in merged(entry["lost"]["least"]):
            if not any(a <= begin and end <= b for a, b in told):
                self._complain(path, "the report lacks bytes %d to %d" % (begin, end - 1))


def merged(ranges):
    """Sorted, those that touch joined."""
    joined = []
    for begin, end in sorted(map(tuple, ranges)):
        if joined and begin <= joined[-1][1]:
            joined[-1] = joined[-1][0], max(end, joined[-1][1])
        else:
            joined.append((begin, end))
    return joined


def whole_characters(name):
    """Half of a surrogate pair arrives as three characters, one for each of its bytes."""
    return re.sub(rb"\xed[\xa0-\xbf][\x80-\xbf]",
                  lambda half: "".join(chr(0xEF00 + byte) for byte in half[0]).encode(), name)


def volume_path(text):
    """A path of the report in the form of the truth."""
    return text.encode("utf-8", "surrogatepass").lstrip(b"/")


def listed_path(line):
    """The path in a line of the hash list, without sha256sum's escapes."""
    path = line.split(b"  ", 1)[1]
    if not line.startswith(b"\\"):
        return path
    return re.sub(rb"\\([\\nr])", lambda m: {b"n": b"\n", b"r": b"\r"}.get(m[1], m[1]), path)
