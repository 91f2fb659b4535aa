"""The tree of a system disk as a rescue meets it: many small files, and one of everything that is difficult.

DAMAGED names what the disk loses, for `damage`.
"""
import struct

import packed_file

CLOUD, JUNCTION, DEDUPLICATED = 0x9000701A, 0xA0000003, 0x80000013
UNKNOWN, LINK = 0x00005A5A, 0xA000000C
WORDS = [b"driver", b"setup", "größe".encode(), "übersicht".encode(), "файл".encode(),
         "写真".encode(), "😀 smile".encode(), b"ntoskrnl", b"Program Data", b"manifest"]


def build(tree, files):
    """files: how many small ones there are."""
    _small_files(tree, files)
    _deep_folders(tree)
    _names(tree)
    _empty_things(tree)
    _streams_and_attributes(tree)
    _compressed_and_sparse(tree)
    _packed(tree)
    _cloud_and_links(tree)
    _other_names(tree)
    _to_be_damaged(tree)


def _small_files(tree, files):
    for top in (b"Windows", b"Windows/WinSxS", b"Users", b"Users/anna"):
        tree.folder(top)
    for at in range(files):
        if at % 100 == 0:
            folder = tree.folder(b"Windows/WinSxS/amd64_%05d" % (at // 100))
        word = WORDS[tree.random.randrange(len(WORDS))]
        size = tree.random.choice((0, 1, 120, 600, 900, 2500, 4096, 5000, 9000))
        tree.file(b"%s/%s-%05d.dll" % (folder, word, at), tree.noise(size))


def _deep_folders(tree):
    path = tree.folder(b"Users/anna/deep")
    for level in range(45):
        path = tree.folder(path + b"/" + ("Ebene %02d in der Tiefe, глубоко" % level).encode())
        if level % 5 == 0:
            tree.file(path + b"/file.txt", tree.noise(3000 + level), keep=level == 40)


def _names(tree):
    folder = tree.folder(b"Users/anna/names")
    long_parts = {"a" * 251 + ".txt", "ж" * 200 + ".dat", "あ" * 255, "あ" * 254 + "い",
                  "😀" * 127, "ü" * 126 + ".odt"}
    plain = {"Case", "case", "CASE", "dots...", "space ", " leading", "tab\there", "line\nbreak",
             'quote"s', "-rf", "aux.txt", "CON", "a~1.txt", "e\u0301", "\u00e9", "ends.partial",
             ".hidden", "percent%20", "question?", "star*", "$Recycle", "\ufeffmark", "\u202egpj"}
    for name in sorted(long_parts | plain):
        tree.file(folder + b"/" + name.encode(), tree.noise(300 + len(name)))
    tree.file(folder + b"/half \xed\xa0\x80 pair", tree.noise(77))
    long_folder = tree.folder(folder + b"/" + ("長" * 200).encode())
    tree.file(long_folder + b"/inside.txt", tree.noise(4321))


def _empty_things(tree):
    top = tree.folder(b"Users/anna/empty")
    for path in (b"one", b"two", b"two/three", b"two/three/four"):
        tree.folder(top + b"/" + path)
    tree.file(top + b"/nothing", b"")


def _streams_and_attributes(tree):
    folder = tree.folder(b"Users/anna/streams")
    for at in range(12):
        path = tree.file(b"%s/download%d.zip" % (folder, at), tree.noise(2000 + at))
        tree.stream(path, b"Zone.Identifier", b"[ZoneTransfer]\r\nZoneId=%d\r\n" % (at % 4))
    tree.stream(path, "größe 写真".encode(), tree.noise(70000))
    tree.stream(path, b"nothing", b"")
    tree.stream(folder, b"of the folder", tree.noise(5000))
    for at in range(8):
        path = tree.file(b"%s/attributes%d" % (folder, at), tree.noise(1500 * at))
        tree.extended_attributes(path, [b"$KERNEL.PURGE.ESBCACHE", b"LXUID", b"X" * 40][:at % 3 + 1])


def _compressible(tree, size):
    line = tree.noise(40).hex().encode()
    text = bytearray()
    while len(text) < size:
        text += line + (b"%d\n" % tree.random.randrange(10 ** 9))
    return bytes(text[:size])


def _compressed_and_sparse(tree):
    folder = tree.compressing_folder(b"Users/anna/compressed")
    for size in (1, 800, 65535, 65536, 65537, 300000):
        tree.file(b"%s/text%d.log" % (folder, size), _compressible(tree, size))
    tree.file(folder + b"/noise.bin", tree.noise(200000))
    sparse = tree.folder(b"Users/anna/sparse")
    tree.sparse_file(sparse + b"/disk.vhd", 40 << 20, [(0, tree.noise(5000)),
                                                      (30 << 20, tree.noise(70000))])


def _packed(tree):
    folder = tree.folder(b"Windows/System32")
    for form, (_, _, chunk) in packed_file.FORMS.items():
        for size in (1000, chunk - 1, chunk, chunk + 1, 5 * chunk, 12 * chunk + 7):
            tree.packed(b"%s/%s-%d.exe" % (folder, form.encode(), size), _compressible(tree, size), form)
        tree.packed(b"%s/%s-noise.dll" % (folder, form.encode()), tree.noise(3 * chunk + 5), form)
        tree.packed(b"%s/%s-mixed.sys" % (folder, form.encode()),
                    _compressible(tree, 2 * chunk) + tree.noise(2 * chunk) + bytes(2 * chunk), form)


def _cloud_and_links(tree):
    folder = tree.folder(b"Users/anna/cloud")
    body = b"\x01\x00\x00\x00" + tree.noise(20)
    for at in range(5):
        path = b"%s/only there %d.jpg" % (folder, at)
        tree.sparse_file(path, 100000 + at, [])
        tree.reparse_point(path, CLOUD | at << 12, body, "file", "only-in-cloud")
    path = tree.file(folder + b"/here.jpg", tree.noise(150000))
    tree.reparse_point(path, CLOUD, body, "file")
    partly = folder + b"/partly.mp4"
    tree.sparse_file(partly, 200000, [(0, tree.noise(65536))], keep=True)
    tree.reparse_point(partly, CLOUD, body, "file")
    gone = [(65536, 200000)]
    tree.truth[partly].update(fate="zeros", reason="only-in-cloud", lost={"least": gone, "most": gone})
    kept = tree.folder(folder + b"/kept here")
    tree.file(kept + b"/inside.txt", tree.noise(500))
    tree.reparse_point(kept, CLOUD, body, "folder")
    for name, tag, reason in ((b"deduplicated.iso", DEDUPLICATED, "deduplicated"),
                              (b"unknown.bin", UNKNOWN, "unknown-reparse-point")):
        path = b"Users/anna/" + name
        tree.sparse_file(path, 66000, [])
        tree.reparse_point(path, tag, body, "file", reason)
    _links(tree)


def _links(tree):
    target = "\\??\\C:\\Users".encode("utf-16-le")
    print_name = "C:\\Users".encode("utf-16-le")
    names = target + b"\0\0" + print_name + b"\0\0"
    offsets = struct.pack("<HHHH", 0, len(target), len(target) + 2, len(print_name))
    junction = tree.folder(b"Documents and Settings")
    tree.reparse_point(junction, JUNCTION, offsets + names, "link")
    link = tree.file(b"Users/anna/link.txt", b"")
    tree.reparse_point(link, LINK, offsets + struct.pack("<I", 0) + names, "link")


def _other_names(tree):
    folder = tree.folder(b"Users/anna/linked")
    for at in range(10):
        path = tree.file(b"%s/first %d.txt" % (folder, at), tree.noise(200 + 900 * at))
        for other in range(at % 3 + 1):
            tree.other_name(path, b"%s/name %d of %d.txt" % (folder, other, at))


def _to_be_damaged(tree):
    folder = tree.folder(b"Users/anna/lost")
    tree.file(folder + b"/middle.mov", tree.noise(3 << 20), keep=True)
    tree.file(folder + b"/end.doc", tree.noise(20700), keep=True)
    tree.file(folder + b"/all.txt", tree.noise(4000), keep=True)
    tree.file(folder + b"/two places.pdf", tree.noise(500000), keep=True)
    path = tree.file(folder + b"/linked.doc", tree.noise(30000), keep=True)
    tree.other_name(path, folder + b"/linked too.doc")
    path = tree.file(folder + b"/stream.zip", tree.noise(6000))
    tree.stream(path, b"preview", tree.noise(50000), keep=True)
    tree.sparse_file(folder + b"/sparse.vhd", 20 << 20, [(15 << 20, tree.noise(90000))], keep=True)
    tree.packed(folder + b"/chunk.exe", _compressible(tree, 400000), "lzx", keep=True)
    tree.packed(folder + b"/table.exe", _compressible(tree, 3000000), "xpress4k", keep=True)
    tree.file(folder + b"/record.txt", tree.noise(9000))
    tree.file(folder + b"/encrypted.doc", tree.noise(12000))
    packed = tree.compressing_folder(folder + b"/compressed")
    tree.file(packed + b"/unit.log", _compressible(tree, 400000), keep=True)
    listed = tree.folder(folder + b"/half a list")
    for at in range(400):
        tree.file(b"%s/entry %03d with a long name.txt" % (listed, at), tree.noise(50 + at))
