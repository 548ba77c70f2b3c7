#pragma once

#include "zip/ZipDeflatedFile.h"

#include <QStringList>

#include <atomic>
#include <deque>
#include <memory>

class RQDeflatePool;

// Deflates the items of an archive run ahead of the writer, on every core,
// and hands each one over in list order. A file up to one chunk is deflated
// whole, in memory; a larger one is cut into chunks deflated at once and
// joined into one stream (each chunk primed with the 32 KiB before it, ended
// with a sync flush, the last one finished), its CRC joined from the chunks'.
//
// Memory stays bounded whatever the input: only a few chunks' worth of input
// per thread is read ahead, and reading waits while the writer is behind.
// Once the cancel flag is set, jobs not yet begun do nothing and a file's
// pieces end at once, so a cancelled run is not held up by its read-ahead.
// Used by the writer's thread only.
class RQDeflateQueue
{
public:
    static constexpr quint64 kChunkSize = 256 * 1024;

    // cancel (may be null) must outlive the queue and the jobs it posted.
    RQDeflateQueue(RQDeflatePool& pool, const QStringList& items, int level,
                   std::shared_ptr<const std::atomic<bool>> cancel = {});
    // Drops what was not taken; jobs already running end on their own.
    ~RQDeflateQueue();

    RQDeflateQueue(const RQDeflateQueue&) = delete;
    RQDeflateQueue& operator=(const RQDeflateQueue&) = delete;

    // The item at index, deflated (indexes taken in increasing order, any
    // skipped). Null when the adapter is to store it itself: a folder,
    // anything but a regular file, a file that could not be read ahead. The
    // file must be let go of before the next take.
    std::unique_ptr<ZipDeflatedFile> take(int index);

    struct Private;

private:
    std::unique_ptr<Private> d;
};
