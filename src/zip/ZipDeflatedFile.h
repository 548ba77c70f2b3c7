#pragma once

#include <QtGlobal>

#include <cstddef>

// A file whose data were deflated away from the archive, as the writing
// adapter takes it: one raw deflate stream handed over piece by piece in
// order, with the CRC-32 and the text judgment the entry's headers need.
class ZipDeflatedFile
{
public:
    struct Piece {
        const char* data = nullptr;
        size_t size = 0;
        // Bytes of the file that the stream holds up to this piece's end.
        quint64 inputEnd = 0;
        // The piece ends the stream.
        bool last = false;
    };

    virtual ~ZipDeflatedFile() = default;

    // The file's size when it was opened.
    virtual quint64 size() const = 0;
    // The CRC-32 of the file's contents, needed before the first piece when
    // the entry is encrypted (the file is read for it when the pieces have
    // not all been made); all bits set when it cannot be read.
    virtual unsigned long crcOfContents() = 0;
    // Whether zlib's deflate would judge the data to be text. Waits for the
    // judgment.
    virtual bool isText() = 0;
    // Waits for the next piece; false after the last. A piece stays valid
    // until the next call.
    virtual bool nextPiece(Piece* piece) = 0;
    // After the last piece: the CRC-32 of the bytes the stream holds, and
    // whether those are the whole file (false when reading failed part-way;
    // the stream then ends early but is complete).
    virtual unsigned long crc() const = 0;
    virtual bool isComplete() const = 0;
    // When not complete: errno of the read that failed, 0 when unknown.
    virtual int systemError() const { return 0; }
};
