#!/usr/bin/env python3
"""Python's zipfile as a peer of the zip tests: inspect ZIP (raw header fields, a JSON object per
entry), headers ZIP (per entry, every header byte but the compressed size and the offsets), test ZIP [PASSWORD] (exit 0 when testzip() finds every entry intact), make ZIP ENTRIES_JSON
(entries from [{"name" | "name_hex", "data", "method", "date_time", "external"}], names stored as
given), zip64-tree ZIP FOLDER (FOLDER under its last component, files in ZIP64 form)."""
import json
import os
import sys
import zipfile


def inspect(path):
    with zipfile.ZipFile(path) as archive:
        for info in archive.infolist():
            raw = info.orig_filename.encode("utf-8" if info.flag_bits & 0x800 else "cp437")
            print(json.dumps({"name": raw.hex(), "flag": info.flag_bits, "method": info.compress_type, "crc": info.CRC,
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
    raw_name = None

    def _encodeFilenameFlags(self):
        return (self.raw_name, self.flag_bits) if self.raw_name else super()._encodeFilenameFlags()


def make(path, entries_json):
    with zipfile.ZipFile(path, "w") as archive:
        for entry in json.loads(entries_json):
            when = tuple(entry.get("date_time", [2020, 5, 17, 9, 30, 10]))
            raw = bytes.fromhex(entry.get("name_hex", ""))
            info = RawNameInfo(raw.decode("cp437") if raw else entry["name"], when)
            info.raw_name = raw
            info.compress_type = entry.get("method", zipfile.ZIP_DEFLATED)
            info.external_attr = entry.get("external", 0)
            with archive.open(info, "w") as stream:
                stream.write(entry.get("data", "").encode("utf-8"))


def zip64_tree(path, folder):
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as archive:
        for root, folders, files in os.walk(folder):
            for name in sorted(folders) + sorted(files):
                full = os.path.join(root, name)
                info = zipfile.ZipInfo.from_file(full, os.path.relpath(full, os.path.dirname(folder)))
                if info.is_dir():
                    archive.write(full, info.filename)
                    continue
                info.compress_type = zipfile.ZIP_DEFLATED
                with open(full, "rb") as source, archive.open(info, "w", force_zip64=True) as stream:
                    stream.write(source.read())


if __name__ == "__main__":
    command, arguments = sys.argv[1], sys.argv[2:]
    if command == "test":
        sys.exit(test(arguments[0], arguments[1] if len(arguments) > 1 else None))
    {"inspect": inspect, "headers": headers, "make": make, "zip64-tree": zip64_tree}[command](*arguments)
