#!/usr/bin/env python3
"""Python's zipfile as a peer of the zip tests. inspect ZIP: raw header fields, a JSON object per entry; headers ZIP:
every header byte but the compressed size and the offsets; test ZIP [PASSWORD]: exit 0 when every entry is intact;
zip64-tree ZIP FOLDER: as -m zipfile -c, files in ZIP64 form; unix-tree ZIP FOLDER: as zip -ry does, links stored as links
(the mode in external_attr, the target as data); nfd-tree ZIP FOLDER: as -c, names decomposed as macOS writes them;
wrapped ZIP COUNT: no ZIP64 end record, so the count wraps; patch ZIP crc|code: every stated CRC changed, or the last
byte before the central directory (an AES entry's authentication code) flipped; raw ZIP LAYOUT_JSON: see raw()."""
import json
import lzma
import os
import struct
import sys
import time
import unicodedata
import zipfile
import zlib


def inspect(path):
    with zipfile.ZipFile(path) as archive:
        for info in archive.infolist():
            raw = info.orig_filename.encode("utf-8" if info.flag_bits & 0x800 else "cp437")
            print(json.dumps({"name": raw.hex(), "text": raw.decode("utf-8", "replace"), "cp932": raw.decode("cp932", "replace"), "flag": info.flag_bits, "method": info.compress_type, "crc": info.CRC,
                              "made_by": info.create_system << 8 | info.create_version, "mode": info.external_attr >> 16,
                              "size": info.file_size, "date_time": "%04d-%02d-%02d %02d:%02d:%02d" % info.date_time}))


def headers(path):
    with zipfile.ZipFile(path) as archive, open(path, "rb") as raw:
        for info in archive.infolist():
            raw.seek(info.header_offset)
            local = bytearray(raw.read(30))
            local += raw.read(int.from_bytes(local[26:28], "little") + int.from_bytes(local[28:30], "little"))
            local[18:22] = bytes(4)
            print(json.dumps([local.hex(), info.create_version, info.create_system, info.extract_version, info.flag_bits,
                              info.compress_type, info.date_time, info.CRC, info.file_size, info.internal_attr,
                              info.external_attr, info.extra.hex(), info.comment.hex()]))


def test(path, password=None):
    try:
        with zipfile.ZipFile(path) as archive:
            archive.setpassword(password and password.encode("ascii"))
            return 0 if archive.testzip() is None else 1
    except Exception as error:  # a wrong password raises
        print(error, file=sys.stderr)
        return 1


def zip64_tree(path, folder):
    open_entry = zipfile.ZipFile.open
    zipfile.ZipFile.open = lambda self, name, mode="r", pwd=None, **_: open_entry(self, name, mode, pwd, force_zip64=True)
    zipfile.main(["-c", path, folder])


def unix_tree(path, folder):
    base = os.path.dirname(folder)
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as archive:
        archive.write(folder, os.path.basename(folder))
        for root, folders, files in os.walk(folder):
            for name in sorted(folders) + sorted(files):
                full = os.path.join(root, name)
                if os.path.islink(full):
                    st = os.lstat(full)
                    info = zipfile.ZipInfo(os.path.relpath(full, base), time.localtime(st.st_mtime)[:6])
                    info.external_attr = st.st_mode << 16
                    archive.writestr(info, os.readlink(full))
                else:
                    archive.write(full, os.path.relpath(full, base))


def nfd_tree(path, folder):
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as archive:
        for root, folders, files in sorted(os.walk(folder)):
            for name in sorted(folders) + sorted(files):
                full = os.path.join(root, name)
                archive.write(full, unicodedata.normalize("NFD", os.path.relpath(full, os.path.dirname(folder))))


def patch(path, what):
    data = bytearray(open(path, "rb").read())
    with zipfile.ZipFile(path) as archive:
        infos, at = archive.infolist(), archive.start_dir
    if what == "code":
        data[at - 1] ^= 1
    for info in infos if what == "crc" else []:
        data[info.header_offset + 14] ^= 1
        data[at + 16] ^= 1
        at += 46 + sum(int.from_bytes(data[at + i:at + i + 2], "little") for i in (28, 30, 32))
    open(path, "wb").write(data)


def wrapped(path, total):
    total = int(total)
    with zipfile.ZipFile(path, "w") as archive:
        for i in range(total):
            archive.writestr("d%02d/f%05d" % (i % 70, i), b"")
    data = open(path, "rb").read()
    end = data.rindex(b"PK\x05\x06")
    wide = data.rindex(b"PK\x06\x06", 0, end)
    record = bytearray(data[end:])
    struct.pack_into("<HH", record, 8, total & 0xFFFF, total & 0xFFFF)
    open(path, "wb").write(data[:wide] + bytes(record))


def zipcrypto(password, data, check):
    keys = [0x12345678, 0x23456789, 0x34567890]
    crc = lambda value, byte: zlib.crc32(bytes([byte]), value ^ 0xFFFFFFFF) ^ 0xFFFFFFFF  # one step, no inversion

    def update(byte):
        keys[0] = crc(keys[0], byte)
        keys[1] = ((keys[1] + (keys[0] & 0xFF)) * 134775813 + 1) & 0xFFFFFFFF
        keys[2] = crc(keys[2], keys[1] >> 24)

    for byte in password:
        update(byte)
    out = bytearray()
    for plain in bytes(range(7, 18)) + bytes([check]) + data:
        t = (keys[2] | 2) & 0xFFFF
        out.append(plain ^ ((t * (t ^ 1)) >> 8) & 0xFF)
        update(plain)
    return bytes(out)


def raw(path, layout_json):
    """entries: [{"name" | "name_hex", "data", "method" (0, 8 or 14), "flag", "password_hex" (traditional encryption),
    "unicode_path" (a 0x7075 field; "unicode_stale": its CRC is of another name), "local_name" (the local header
    names something else), "same_local_as" (index: no data of its own, the central record points at that entry's
    local header), "grow" (bytes added to the central compressed size), "size_off" (added to the stated size), "repeat"
    (the data that many times), "crc_xor" (changes the stated CRC), "external" (attributes, made on Unix),
    "dos_time" ([time, date] fields)}];
    "comment_size" (a comment of that many bytes); "fake_end" (the comment holds an end record that does not parse)."""
    layout = json.loads(layout_json)
    body, central, placed = bytearray(), bytearray(), []
    for entry in layout["entries"]:
        name = bytes.fromhex(entry["name_hex"]) if "name_hex" in entry else entry["name"].encode("utf-8")
        data = entry.get("data", "").encode("utf-8") * entry.get("repeat", 1)
        method, flag, when = entry.get("method", 8), entry.get("flag", 0), entry.get("dos_time", [0x4A4F, 0x50B1])
        crc, stated = zlib.crc32(data) ^ entry.get("crc_xor", 0), len(data) + entry.get("size_off", 0)
        stored = data if method == 0 else zlib.compress(data, 6, -15) if method == 8 else data
        if method == 14:  # 7-Zip's layout: version, properties' size, properties claiming "lzma_dict" bytes
            stream = lzma.compress(data, lzma.FORMAT_RAW, filters=[{"id": lzma.FILTER_LZMA1, "dict_size": 1 << 16}])
            stored = bytes([9, 20, 5, 0, 0x5D]) + struct.pack("<I", entry.get("lzma_dict", 1 << 16)) + stream
        if "password_hex" in entry:
            flag |= 1
            stored = zipcrypto(bytes.fromhex(entry["password_hex"]), stored, crc >> 24)
        extra = b""
        if "unicode_path" in entry:
            of = b"another name" if entry.get("unicode_stale") else name
            field = b"\x01" + struct.pack("<I", zlib.crc32(of)) + entry["unicode_path"].encode("utf-8")
            extra = struct.pack("<HH", 0x7075, len(field)) + field
        if "same_local_as" in entry:
            offset, stored_size = placed[entry["same_local_as"]]
        else:
            offset, stored_size = len(body), len(stored)
            local = entry.get("local_name", "").encode("utf-8") or name
            body += struct.pack("<IHHHHHIIIHH", 0x04034B50, 20, flag, method, *when, crc, len(stored), stated,
                                len(local), 0) + local + stored
        placed.append((offset, stored_size))
        made_by = 0x314 if "external" in entry else 20  # Unix, whose mode the external attributes hold
        central += struct.pack("<IHHHHHHIIIHHHHHII", 0x02014B50, made_by, 20, flag, method, *when, crc,
                               stored_size + entry.get("grow", 0), stated, len(name), len(extra), 0, 0, 0,
                               entry.get("external", 0), offset) + name + extra
    comment = b"c" * layout.get("comment_size", 0)
    if layout.get("fake_end"):
        comment = b"xx" + struct.pack("<IHHHHIIH", 0x06054B50, 0, 0, 1, 1, 46, 0, 3) + b"end"
    count = len(layout["entries"])
    end = struct.pack("<IHHHHIIH", 0x06054B50, 0, 0, count, count, len(central), len(body), len(comment))
    open(path, "wb").write(bytes(body + central) + end + comment)


if __name__ == "__main__":
    commands = {"inspect": inspect, "headers": headers, "test": test, "zip64-tree": zip64_tree, "unix-tree": unix_tree,
                "nfd-tree": nfd_tree, "wrapped": wrapped, "patch": patch, "raw": raw}
    sys.exit(commands[sys.argv[1]](*sys.argv[2:]))
