#!/usr/bin/env python3
"""Python's zipfile as a peer of the zip tests: reads archives the engine wrote
and writes archives for the engine to read.

  peer.py inspect ZIP             one JSON object per entry (raw header fields)
  peer.py test ZIP [PASSWORD]     exit 0 when testzip() finds every entry intact
  peer.py make ZIP SPEC_JSON      writes entries described by a JSON list
  peer.py patch ZIP OFFSET HEX    overwrites bytes at OFFSET
  peer.py tree ZIP FOLDER [zip64] stores FOLDER (named by its last component)
"""
import os
import json
import sys
import zipfile


def inspect(path):
    with zipfile.ZipFile(path) as archive:
        for info in archive.infolist():
            raw = info.orig_filename.encode("utf-8" if info.flag_bits & 0x800 else "cp437")
            print(json.dumps({
                "name": raw.hex(),
                "flag": info.flag_bits,
                "create_version": info.create_version,
                "create_system": info.create_system,
                "extract_version": info.extract_version,
                "method": info.compress_type,
                "crc": info.CRC,
                "size": info.file_size,
                "date_time": list(info.date_time),
                "external": info.external_attr,
                "header_offset": info.header_offset,
                "extra": info.extra.hex(),
            }))


def test(path, password):
    try:
        with zipfile.ZipFile(path) as archive:
            if password is not None:
                archive.setpassword(password.encode("ascii"))
            return 0 if archive.testzip() is None else 1
    except Exception as error:  # a wrong password raises
        print(error, file=sys.stderr)
        return 1


class RawNameInfo(zipfile.ZipInfo):
    """An entry whose stored name bytes are given as they are (no UTF-8 flag)."""
    raw_name = None

    def _encodeFilenameFlags(self):
        if self.raw_name is not None:
            return self.raw_name, self.flag_bits
        return super()._encodeFilenameFlags()


def make(path, spec):
    """spec: [{"name": str | "name_hex": hex, "data": str, "method": int,
               "date_time": [y,m,d,H,M,S], "external": int}]; "zip64": true forces
       ZIP64 records for every entry."""
    entries = json.loads(spec)
    with zipfile.ZipFile(path, "w") as archive:
        for entry in entries:
            when = tuple(entry.get("date_time", [2020, 5, 17, 9, 30, 10]))
            if "name_hex" in entry:
                raw = bytes.fromhex(entry["name_hex"])
                info = RawNameInfo(raw.decode("cp437"), when)
                info.raw_name = raw
            else:
                info = zipfile.ZipInfo(entry["name"], when)
            info.compress_type = entry.get("method", zipfile.ZIP_DEFLATED)
            info.external_attr = entry.get("external", 0)
            data = entry.get("data", "").encode("utf-8")
            with archive.open(info, "w", force_zip64=entry.get("zip64", False)) as stream:
                stream.write(data)


def tree(path, folder, zip64):
    parent = os.path.dirname(os.path.abspath(folder))
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as archive:
        for root, folders, files in os.walk(folder):
            for name in sorted(folders) + sorted(files):
                full = os.path.join(root, name)
                arcname = os.path.relpath(full, parent)
                if zip64 and os.path.isfile(full):
                    info = zipfile.ZipInfo.from_file(full, arcname)
                    info.compress_type = zipfile.ZIP_DEFLATED
                    with open(full, "rb") as source, archive.open(info, "w", force_zip64=True) as stream:
                        stream.write(source.read())
                else:
                    archive.write(full, arcname)


def patch(path, offset, data):
    with open(path, "r+b") as stream:
        stream.seek(offset)
        stream.write(bytes.fromhex(data))


if __name__ == "__main__":
    command = sys.argv[1]
    if command == "inspect":
        inspect(sys.argv[2])
    elif command == "test":
        sys.exit(test(sys.argv[2], sys.argv[3] if len(sys.argv) > 3 else None))
    elif command == "make":
        make(sys.argv[2], sys.argv[3])
    elif command == "tree":
        tree(sys.argv[2], sys.argv[3], len(sys.argv) > 4)
    elif command == "patch":
        patch(sys.argv[2], int(sys.argv[3]), sys.argv[4])
    else:
        sys.exit(2)
