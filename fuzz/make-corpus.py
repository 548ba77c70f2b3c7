#!/usr/bin/env python3
"""Writes the seed corpus of the zip reader's fuzz target into fuzz/corpus/zip-reader: small
archives made by Info-ZIP zip, 7z, bsdtar and Python's zipfile (every method, encryption and
name form they offer), and the hand-built archives of the reading tests (tests/zip/peer.py make).
Run it again after adding a seed; the files it writes are committed."""
import json
import os
import shutil
import subprocess
import sys
import tempfile
import zipfile

HERE = os.path.dirname(os.path.abspath(__file__))
OUT = os.path.join(HERE, "corpus", "zip-reader")
PEER = os.path.join(HERE, "..", "tests", "zip", "peer.py")


def tree(root):
    """A few small files and folders, one of them compressible."""
    os.makedirs(os.path.join(root, "top", "sub", "empty"))
    with open(os.path.join(root, "top", "a.txt"), "w") as f:
        f.write("hello\n")
    with open(os.path.join(root, "top", "sub", "text.txt"), "w") as f:
        f.write("some text, some text\n" * 60)
    with open(os.path.join(root, "top", "日本語.txt"), "w") as f:
        f.write("japanese name\n")
    os.symlink("a.txt", os.path.join(root, "top", "link"))


def tool(name, arguments, cwd):
    if shutil.which(arguments[0]) is None:
        print("skipped (no %s): %s" % (arguments[0], name), file=sys.stderr)
        return
    target = os.path.join(OUT, name)
    if os.path.exists(target):
        os.remove(target)
    subprocess.run([a.replace("$OUT", target) for a in arguments], cwd=cwd, check=True,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def python_archives(src):
    def write(name, **options):  # "for archive in write(...)": the archive, closed afterwards
        with zipfile.ZipFile(os.path.join(OUT, name), "w", **options) as archive:
            yield archive

    for name, method in [("python-deflate.zip", zipfile.ZIP_DEFLATED), ("python-stored.zip", zipfile.ZIP_STORED),
                         ("python-bzip2.zip", zipfile.ZIP_BZIP2), ("python-lzma.zip", zipfile.ZIP_LZMA)]:
        for archive in write(name, compression=method):
            archive.write(os.path.join(src, "top", "a.txt"), "top/a.txt")
            archive.write(os.path.join(src, "top", "sub", "text.txt"), "top/sub/text.txt")
            archive.writestr("top/sub/empty/", "")
    for archive in write("python-comment-zip64.zip", compression=zipfile.ZIP_DEFLATED):
        archive.comment = b"an archive comment"
        with archive.open("big.txt", "w", force_zip64=True) as stream:
            stream.write(b"zip64 " * 100)
    # Past the size decoded in one piece (streamed through a window), and past
    # the size decoded on a thread of its own; both deflate to a few KiB.
    for archive in write("python-deflate-large.zip", compression=zipfile.ZIP_DEFLATED):
        archive.writestr("streamed.txt", (b"streamed through a window " * 70000)[:1536 << 10])
        archive.writestr("relayed.bin", bytes(9 << 20))
    for archive in write("python-utf8-flag.zip"):
        archive.writestr("日本語/名前.txt", "utf-8 flagged name")
    with zipfile.ZipFile(os.path.join(OUT, "python-empty.zip"), "w"):
        pass


def peer_archives():
    """The archives of the reading tests, built byte by byte by tests/zip/peer.py."""
    cases = {
        "peer-shift-jis-names.zip": [{"name": "ok.txt", "data": "ok"}, {"name_hex": "82a02e747874", "data": "a"},
                                      {"name_hex": "955c", "data": "table"},
                                      {"name_hex": "93fa967b8cea83748348838b835f2f"}],
        "peer-traversal.zip": [{"name": "../x", "data": "evil"}, {"name": "a/../../x", "data": "evil"},
                               {"name": "/tmp/x", "data": "evil"}, {"name": "..\\x", "data": "evil"}],
        "peer-link-then-file.zip": [{"name": "link", "data": "/tmp", "external": 0o120777 << 16},
                                    {"name": "link/x", "data": "evil"}],
        "peer-unsupported-method.zip": [{"name": "a.txt", "data": "a"}, {"name": "b.txt", "method": 14},
                                        {"name": "c.txt", "data": "c"}],
        "peer-case-and-backslash.zip": [{"name": "Read.txt", "data": "1"}, {"name": "read.txt", "data": "2"},
                                        {"name": "w\\v.txt", "data": "v"}, {"name": "a/b/"}],
        "peer-zero-date.zip": [{"name": "t.txt", "data": "t", "date_time": [1980, 0, 0, 0, 0, 0]}],
    }
    for name, entries in cases.items():
        subprocess.run([sys.executable, PEER, "make", os.path.join(OUT, name), json.dumps(entries)], check=True)
    # A stored entry with one data byte changed: its CRC fails.
    subprocess.run([sys.executable, PEER, "make", os.path.join(OUT, "peer-crc-fails.zip"),
                    json.dumps([{"name": "f.txt", "data": "0123456789" * 10, "method": 0}])], check=True)
    with open(os.path.join(OUT, "peer-crc-fails.zip"), "r+b") as f:
        data = bytearray(f.read())
        data[data.index(b"0123456789") + 55] = ord("X")
        f.seek(0)
        f.write(data)


def main():
    os.makedirs(OUT, exist_ok=True)
    with tempfile.TemporaryDirectory() as src:
        tree(src)
        tool("zip-deflate.zip", ["zip", "-q", "-r", "-y", "$OUT", "top"], src)
        tool("zip-stored.zip", ["zip", "-q", "-r", "-0", "$OUT", "top"], src)
        tool("zip-encrypted.zip", ["zip", "-q", "-r", "-P", "password", "$OUT", "top"], src)
        tool("zip-zip64.zip", ["zip", "-q", "-r", "-fz", "$OUT", "top"], src)
        tool("zip-comment.zip", ["sh", "-c", "echo comment | zip -q -r -z $OUT top"], src)
        tool("zip-streamed.zip", ["sh", "-c", "zip -q - top/a.txt top/sub/text.txt > $OUT"], src)
        tool("7z-deflate.zip", ["7z", "a", "-tzip", "$OUT", "top"], src)
        tool("7z-deflate64.zip", ["7z", "a", "-tzip", "-mm=Deflate64", "$OUT", "top"], src)
        tool("7z-bzip2.zip", ["7z", "a", "-tzip", "-mm=BZip2", "$OUT", "top"], src)
        tool("7z-lzma.zip", ["7z", "a", "-tzip", "-mm=LZMA", "$OUT", "top"], src)
        tool("7z-ppmd.zip", ["7z", "a", "-tzip", "-mm=PPMd", "$OUT", "top"], src)
        tool("7z-zipcrypto.zip", ["7z", "a", "-tzip", "-ppassword", "$OUT", "top"], src)
        tool("7z-aes256.zip", ["7z", "a", "-tzip", "-ppassword", "-mem=AES256", "$OUT", "top"], src)
        tool("7z-aes128-stored.zip", ["7z", "a", "-tzip", "-ppassword", "-mem=AES128", "-mm=Copy", "$OUT", "top"], src)
        # AE-1 from 20 bytes, AE-2 below, with data descriptors.
        tool("bsdtar-aes256.zip", ["bsdtar", "--format", "zip", "--options", "zip:encryption=aes256",
                                   "--passphrase", "password", "-cf", "$OUT", "top"], src)
        tool("7z-utf8.zip", ["7z", "a", "-tzip", "-mcu=on", "$OUT", "top"], src)
        tool("bsdtar-deflate.zip", ["bsdtar", "--format", "zip", "-cf", "$OUT", "top"], src)
        tool("bsdtar-stored.zip", ["bsdtar", "--format", "zip", "--options", "zip:compression=store",
                                   "-cf", "$OUT", "top"], src)
        python_archives(src)
    peer_archives()
    for name in sorted(os.listdir(OUT)):
        print("%6d %s" % (os.path.getsize(os.path.join(OUT, name)), name))


if __name__ == "__main__":
    main()
