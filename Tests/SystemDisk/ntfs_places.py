"""Where the pieces of an NTFS volume lie, read straight from its records; for tests, which damage them.

Paths are bytes, parts joined by "/", without one at the beginning. Places are (from, to) in bytes from
the beginning of the volume, "to" excluded.
"""
import struct

STANDARD, LIST, NAME, DATA, ROOT, ALLOCATION = 0x10, 0x20, 0x30, 0x80, 0x90, 0xA0
_ROOT_RECORD, _BITMAP_RECORD = 5, 6


class Attribute:
    def __init__(self, header, at):
        self.kind, self.length = struct.unpack_from("<II", header, at)
        self.resident = header[at + 8] == 0
        name_at = at + struct.unpack_from("<H", header, at + 10)[0]
        self.name = header[name_at:name_at + 2 * header[at + 9]].decode("utf-16-le")
        self.flags_at = at + 12
        if self.resident:
            size, offset = struct.unpack_from("<IH", header, at + 16)
            self.value = header[at + offset:at + offset + size]
            self.runs = []
        else:
            self.first = struct.unpack_from("<Q", header, at + 16)[0]
            runs_at = at + struct.unpack_from("<H", header, at + 32)[0]
            self.size = struct.unpack_from("<Q", header, at + 48)[0]
            self.runs = list(_runs(header, runs_at, at + self.length))


def _runs(header, at, end):
    """(clusters, first cluster or None for a hole)"""
    cluster = 0
    while at < end and header[at]:
        count_bytes, place_bytes = header[at] & 15, header[at] >> 4
        count = int.from_bytes(header[at + 1:at + 1 + count_bytes], "little")
        at += 1 + count_bytes
        if place_bytes:
            cluster += int.from_bytes(header[at:at + place_bytes], "little", signed=True)
        yield count, cluster if place_bytes else None
        at += place_bytes


class NtfsPlaces:
    def __init__(self, image):
        self._file = open(image, "r+b")
        boot = self._read(0, 512)
        self.cluster = struct.unpack_from("<H", boot, 11)[0] * boot[13]
        self._clusters = struct.unpack_from("<Q", boot, 40)[0] // boot[13]
        self.record_bytes = 1024
        self._table = []
        first = struct.unpack_from("<Q", boot, 48)[0] * self.cluster
        self._table = self._joined(self._attributes(self._read(first, self.record_bytes)), DATA, "")
        self._numbers = None

    def _read(self, at, count):
        self._file.seek(at)
        return self._file.read(count)

    def record_place(self, number):
        at = number * self.record_bytes
        for count, cluster in self._table:
            size = count * self.cluster
            if at < size:
                return cluster * self.cluster + at
            at -= size
        raise IndexError(number)

    def record_count(self):
        return sum(count for count, _ in self._table) * self.cluster // self.record_bytes

    def _record(self, number):
        bytes_ = bytearray(self._read(self.record_place(number), self.record_bytes))
        if bytes_[:4] != b"FILE":
            return b""
        at, count = struct.unpack_from("<HH", bytes_, 4)
        for sector in range(1, count):
            bytes_[sector * 512 - 2:sector * 512] = bytes_[at + 2 * sector:at + 2 * sector + 2]
        return bytes(bytes_)

    @staticmethod
    def _attributes(record):
        at = struct.unpack_from("<H", record, 20)[0]
        found = []
        while struct.unpack_from("<I", record, at)[0] != 0xFFFFFFFF:
            found.append(Attribute(record, at))
            at += found[-1].length
        return found

    @staticmethod
    def _joined(attributes, kind, name):
        pieces = [a for a in attributes if a.kind == kind and a.name == name and not a.resident]
        return [run for piece in sorted(pieces, key=lambda a: a.first) for run in piece.runs]

    def _index(self):
        """By path the number of each record in use, by every name that it has."""
        parents, folders = [], {}
        for number in range(self.record_count()):
            record = self._record(number)
            if not record or not struct.unpack_from("<H", record, 22)[0] & 1:
                continue
            base = struct.unpack_from("<Q", record, 32)[0] & 0xFFFFFFFFFFFF
            for a in self._attributes(record):
                if a.kind == NAME and a.value[65] != 2:
                    parents.append((base or number, *_own_name(a.value)))
        for number, parent, name in parents:
            folders[number] = (parent, name)
        self._numbers = {}
        for number, parent, name in parents:
            self._numbers[_path_of(folders, parent) + name] = number

    def number_of(self, path):
        if self._numbers is None:
            self._index()
        return self._numbers[path]

    def attributes_of(self, path):
        """Those of all the records of the file."""
        own = self._attributes(self._record(self.number_of(path)))
        elsewhere = {self.number_of(path)}
        for a in own:
            if a.kind == LIST and a.resident:
                elsewhere |= set(_listed_records(a.value))
        elsewhere.discard(self.number_of(path))
        return own + [a for n in elsewhere for a in self._attributes(self._record(n))]

    def runs_of(self, path, kind=DATA, name=""):
        return self._joined(self.attributes_of(path), kind, name)

    def place_of(self, path, at, kind=DATA, name=""):
        """Where one byte of a stream as it is stored lies; None in a hole."""
        for count, cluster in self.runs_of(path, kind, name):
            size = count * self.cluster
            if at < size:
                return None if cluster is None else cluster * self.cluster + at
            at -= size
        raise IndexError("%r is resident, or ends before byte %d" % (path, at))

    def free_place(self):
        """The last cluster that no file has."""
        runs = self._joined(self._attributes(self._record(_BITMAP_RECORD)), DATA, "")
        bitmap = b"".join(self._read(cluster * self.cluster, count * self.cluster)
                          for count, cluster in runs)
        free = max(n for n in range(self._clusters) if not bitmap[n // 8] >> n % 8 & 1)
        return free * self.cluster

    def times_of(self, path):
        """Creation, modification, access in 100 ns since 1601."""
        value = next(a for a in self.attributes_of(path) if a.kind == STANDARD).value
        created, modified, _, accessed = struct.unpack_from("<QQQQ", value)
        return created, modified, accessed

    def mark_encrypted(self, path):
        """Makes the data of a file look like that of one that Windows encrypted individually."""
        place = self.record_place(self.number_of(path))
        record = self._read(place, self.record_bytes)
        for a in self._attributes(record):
            if a.kind == DATA and not a.name and not a.resident:
                self._file.seek(place + a.flags_at)
                self._file.write(struct.pack("<H", 0x4000))
                self._file.flush()
                return
        raise ValueError("%r has no data of its own" % path)


def _own_name(value):
    parent = struct.unpack_from("<Q", value)[0] & 0xFFFFFFFFFFFF
    name = value[66:66 + 2 * value[64]].decode("utf-16-le", "surrogatepass")
    return parent, name.encode("utf-8", "surrogatepass")


def _path_of(folders, number):
    parts = []
    while number != _ROOT_RECORD:
        number, name = folders[number]
        parts.append(name)
    return b"".join(part + b"/" for part in reversed(parts))


def _listed_records(value):
    at = 0
    while at < len(value):
        yield struct.unpack_from("<Q", value, at + 16)[0] & 0xFFFFFFFFFFFF
        at += struct.unpack_from("<H", value, at + 4)[0]
