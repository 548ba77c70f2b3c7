#!/usr/bin/env python3
"""Deterministic benchmark corpus.

  corpus.py small ROOT COUNT        COUNT files of 1-16 KiB of text-like data in 100 folders
  corpus.py large ROOT TOTAL_MB     files of 64-512 MiB, half text-like, half random
  corpus.py tiny ROOT COUNT         COUNT files of 0-100 bytes in folders of 1,000
  corpus.py single ROOT TOTAL_MB    one file, big.bin: runs of 64-512 MiB, text-like and
                                    random by turns (the large files end to end)

The same arguments always give the same bytes.
"""
import os
import random
import sys

WORDS = (
    "the of and to in is was for on that with as by at from his it an were are which this be "
    "or has had not but first one their its new after who they have her she two been other "
    "when there all during into school time may years more most only over city some world "
    "would where later up such used many can state about national out known university "
    "united then made 2019 archive zip deflate 書庫 ファイル 圧縮 解凍 フォルダ 名前"
).split()


def text_block(generator, size):
    """Word salad with line breaks: compresses about as well as prose."""
    out = bytearray()
    while len(out) < size:
        line = " ".join(generator.choice(WORDS) for _ in range(generator.randint(4, 14)))
        out += line.encode("utf-8") + b"\n"
    return bytes(out[:size])


def small(root, count):
    generator = random.Random(1)
    pool = text_block(generator, 4 << 20)
    for i in range(count):
        folder = os.path.join(root, "d%02d" % (i % 100))
        os.makedirs(folder, exist_ok=True)
        size = generator.randint(1024, 16384)
        start = generator.randrange(0, len(pool) - size)
        with open(os.path.join(folder, "f%05d.txt" % i), "wb") as stream:
            stream.write(pool[start:start + size])


def large(root, total_mb, single=False):
    generator = random.Random(2)
    text = text_block(generator, 16 << 20)
    noise = generator.randbytes(16 << 20)
    os.makedirs(root, exist_ok=True)
    written, index = 0, 0
    total = total_mb << 20
    stream = open(os.path.join(root, "big.bin"), "wb") if single else None
    while written < total:
        size = min(generator.choice([64, 128, 256, 512]) << 20, total - written)
        block = text if index % 2 == 0 else noise
        if not single:
            stream = open(os.path.join(root, "large%02d.bin" % index), "wb")
        left = size
        while left > 0:
            # Pieces from varying offsets: no repeat inside deflate's window.
            start = generator.randrange(0, len(block) - (1 << 20))
            piece = block[start:start + min(left, 1 << 20)]
            stream.write(piece)
            left -= len(piece)
        if not single:
            stream.close()
        written += size
        index += 1
    if single:
        stream.close()


def single(root, total_mb):
    large(root, total_mb, single=True)


def tiny(root, count):
    generator = random.Random(3)
    for i in range(count):
        folder = os.path.join(root, "t%03d" % (i // 1000))
        if i % 1000 == 0:
            os.makedirs(folder, exist_ok=True)
        with open(os.path.join(folder, "x%06d" % i), "wb") as stream:
            stream.write(text_block(generator, generator.randint(0, 100)))


if __name__ == "__main__":
    kind, root, amount = sys.argv[1], sys.argv[2], int(sys.argv[3])
    {"small": small, "large": large, "tiny": tiny, "single": single}[kind](root, amount)
