"""Chooses the bad sectors of a system disk, and says what each of them costs.

A place is (from, to) in bytes, "to" excluded: of the volume where sectors are meant, of the file where a
loss is. `lost` of an entry of the truth: "least" must be given up, nothing outside "most" may be.
"""
import packed_file
from ntfs_places import ALLOCATION, DATA

SECTOR = 512
LOST = b"Users/anna/lost/"
DEEP = b"Users/anna/deep/"


class Damage:
    def __init__(self, places, tree):
        self._places, self._tree = places, tree
        self.sectors = set()
        self._files()
        self._files_in_pieces()
        self._metadata()
        self._take(places.free_place())

    def _take(self, at, count=1):
        first = at // SECTOR
        self.sectors |= set(range(first, first + count))

    def _sector_of(self, path, at, name="", kind=DATA):
        self._take(self._places.place_of(path, at, kind, name))

    def _lose(self, path, least, most):
        lost = self._tree.truth[path].setdefault("lost", {"least": [], "most": []})
        self._tree.truth[path]["fate"] = "zeros"
        lost["least"] += least
        lost["most"] += most

    def _lose_sectors(self, path, *offsets, stream=""):
        full = path + (b":" + stream.encode() if stream else b"")
        size = self._tree.truth[full]["size"]
        for at in offsets:
            self._sector_of(path, at, stream)
            first = at - at % SECTOR
            place = [(first, min(first + SECTOR, size))]
            self._lose(full, place, place)

    def _files(self):
        self._lose_sectors(LOST + b"middle.mov", 1000000, 1000512, 1001024)
        self._lose_sectors(LOST + b"end.doc", 20699)
        self._lose_sectors(LOST + b"all.txt", *range(0, 4000, SECTOR))
        self._lose_sectors(LOST + b"two places.pdf", 100000, 400000)
        self._lose_sectors(LOST + b"stream.zip", 25000, stream="preview")
        self._lose_sectors(LOST + b"sparse.vhd", (15 << 20) + 40000)
        deepest = max((p for p in self._tree.truth if p.startswith(DEEP) and p.endswith(b".txt")),
                      key=len)
        self._lose_sectors(deepest, 1500)
        self._lose_sectors(LOST + b"linked.doc", 15000)
        self._lose(LOST + b"linked too.doc", *self._tree.truth[LOST + b"linked.doc"]["lost"].values())

    def _files_in_pieces(self):
        self._compressed(LOST + b"compressed/unit.log", 2, 65536)
        self._chunk(LOST + b"chunk.exe", "lzx", 5)
        self._table(LOST + b"table.exe", "xpress4k")

    def _compressed(self, path, unit, unit_bytes):
        assert None in [cluster for _, cluster in self._places.runs_of(path)], "not compressed"
        self._sector_of(path, unit * unit_bytes + 600)
        self._lose(path, [], [(unit * unit_bytes, (unit + 1) * unit_bytes)])

    def _chunk(self, path, form, number):
        chunk = packed_file.FORMS[form][2]
        begin, end = packed_file.chunk_places(self._tree.kept[path], form)[number]
        assert begin // SECTOR < (begin + end) // 2 // SECTOR < end // SECTOR
        self._sector_of(path, (begin + end) // 2, packed_file.STREAM)
        self._lose(path, [], [(number * chunk, (number + 1) * chunk)])

    def _table(self, path, form):
        """Half a KiB of the table: at least the chunks whose both ends it holds."""
        chunk, each = packed_file.FORMS[form][2], SECTOR // 4
        self._sector_of(path, 2 * SECTOR, packed_file.STREAM)
        self._lose(path, [((2 * each + 1) * chunk, 3 * each * chunk)],
                   [(0, self._tree.truth[path]["size"])])
        self._tree.truth[path]["fate"] = "zeros or absent"

    def _metadata(self):
        folder, record = LOST + b"half a list", LOST + b"record.txt"
        self._sector_of(folder, 2 * 4096 + 1024, "$I30", ALLOCATION)
        self._tree.truth[folder]["fate"] = "incomplete"
        self._take(self._places.record_place(self._places.number_of(record)))
        self._tree.truth[record].update(fate="absent", reason="unreadable")
        encrypted = LOST + b"encrypted.doc"
        self._places.mark_encrypted(encrypted)
        self._tree.truth[encrypted].update(fate="absent", reason="encrypted")
