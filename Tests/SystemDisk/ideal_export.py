"""An export as it should be, made from the truth without the program: what the judge must accept."""
import json
import os
import shutil
import struct

import destination
import system_tree
from judge import bytes_of, merged, nanoseconds, whole_characters
from made_tree import MadeTree


class IdealTree(MadeTree):
    """Writes the tree into an ordinary folder, as far as that can hold it."""

    def __init__(self, folder):
        super().__init__(folder)
        self._cut = {}   # name that is too long, in its folder: short name

    def at(self, path):
        return b"/".join([self._mounted, *self._short_parts(path)])

    _at = at

    def _short_parts(self, path):
        parts = path.split(b"/")
        return [self._short(b"/".join(parts[:n]), part) for n, part in enumerate(parts)]

    def _short(self, folder, name):
        name = whole_characters(name)
        if len(name) <= 255:
            return name
        stem, extension = os.path.splitext(name)
        if (folder, name) not in self._cut:
            end = b"~%d%s" % (len(self._cut) + 1, extension)
            begin = stem[:255 - len(end)].decode(errors="ignore").encode()
            self._cut[folder, name] = begin + end
        return self._cut[folder, name]

    def _set_attribute(self, path, name, value):
        if name == "times":
            _, modified, accessed = struct.unpack("<QQQ", value)
            os.utime(self._at(path), ns=(nanoseconds(accessed), nanoseconds(modified)))

    def _link(self, path, name):
        shutil.copyfile(self._at(path), self._at(name))

    def _write_packed(self, path, data, form):
        self._write(path, data)

    def finish(self):
        for path, entry in self.truth.items():
            if entry["kind"] in ("file", "stream"):
                self._set_times(path)
        self._reparse = []
        super().finish()


class IdealExport:
    def __init__(self, made, work):
        self.copy = work / "copy"
        self.manifest, self.report = work / "copy.sha256", work / "report.json"
        self.copy.mkdir()
        with open(made / "truth.json", encoding="ascii") as file:
            told = json.load(file)
        self.truth = {bytes_of(entry["path"]): entry for entry in told["entries"]}
        self.tree = IdealTree(self.copy)
        system_tree.build(self.tree, told["files"])
        self._lose()
        self.tree.finish()
        self.write_manifest()
        self._write_report()

    def place(self, path):
        return self.tree.at(path)

    def _lose(self):
        for path, entry in self.truth.items():
            if entry["fate"] == "absent" or entry["kind"] == "link":
                remove(self.place(path))
                self.tree.truth.pop(path)
                if path in self.tree.folders:
                    self.tree.folders.remove(path)
            for begin, end in entry.get("lost", {}).get("most", ()):
                with open(self.place(path), "r+b") as file:
                    os.pwrite(file.fileno(), bytes(end - begin), begin)

    def write_manifest(self):
        with open(self.manifest, "wb") as file:
            for path, found in sorted(destination.walk(self.copy).items()):
                if found.is_file:
                    digest = destination.sha256(os.fsencode(self.copy) + b"/" + path)
                    file.write(manifest_line(digest.encode(), path))

    def _write_report(self):
        failures = [{"path": "/" + path.decode(errors="surrogateescape"), "reason": "lost", "unread": [
            {"offset": begin, "length": end - begin} for begin, end in
            merged(entry.get("lost", {}).get("most", ()))]}
            for path, entry in self.truth.items()
            if entry["fate"] != "whole" and entry["kind"] != "link"]
        nothing = dict.fromkeys(("stoppedBy", "syncError", "errors", "notCopied", "notChecked"))
        self.report.write_text(json.dumps({"failures": failures, "status": 1, **nothing}))


def manifest_line(digest, path):
    escaped = path.replace(b"\\", b"\\\\").replace(b"\n", b"\\n").replace(b"\r", b"\\r")
    return (b"" if escaped == path else b"\\") + digest + b"  " + escaped + b"\n"


def remove(place):
    if os.path.isdir(place):
        os.rmdir(place)
    else:
        os.unlink(place)
