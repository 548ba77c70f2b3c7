#include "zip/RQDeflateQueue.h"

#include "zip/RQDeflatePool.h"
#include "zip/ZipDeflater.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <mutex>
#include <vector>

namespace {

// A whole file read ahead may have grown since it was planned; beyond this it
// is left to the adapter, which streams it.
constexpr quint64 kWholeLimit = 2 * RQDeflateQueue::kChunkSize;
// Input read ahead, per deflating thread, and items planned ahead.
constexpr quint64 kChunksPerThread = 4;
constexpr int kItemsPerThread = 64;
// A final empty block: ends a stream whose next chunk could not be made.
constexpr char kEndOfStream[] = { 0x03, 0x00 };

qint64 readAt(int fd, char* buffer, quint64 size, quint64 offset)
{
    quint64 done = 0;
    while (done < size) {
        const ssize_t n = ::pread(fd, buffer + done, size_t(size - done), off_t(offset + done));
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            return n < 0 && done == 0 ? -1 : qint64(done);
        }
        done += quint64(n);
    }
    return qint64(done);
}

int openRegular(const QByteArray& path, quint64* size)
{
    int fd;
    do {
        // Non-blocking: a FIFO put in a file's place must not hang the run.
        fd = ::open(path.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) {
        return -1;
    }
    struct stat st;
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        ::close(fd);
        return -1;
    }
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK);
    *size = quint64(st.st_size);
    return fd;
}

// Output buffers go back and forth between the jobs and the writer: freshly
// touched memory costs more than deflating a small file.
class Buffers
{
public:
    std::vector<char> get()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_free.empty()) {
            return {};
        }
        std::vector<char> buffer = std::move(m_free.back());
        m_free.pop_back();
        return buffer;
    }
    void put(std::vector<char>&& buffer)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_free.size() < 256 && buffer.capacity() <= 4 * RQDeflateQueue::kChunkSize) {
            m_free.push_back(std::move(buffer));
        }
    }

private:
    std::mutex m_mutex;
    std::vector<std::vector<char>> m_free;
};

struct Job : RQDeflateJob {
    quint64 cost = 0;
    std::shared_ptr<Buffers> buffers;
    std::vector<char> out;
    std::shared_ptr<const std::atomic<bool>> cancel;

    bool cancelled() const { return cancel && cancel->load(std::memory_order_relaxed); }
};

// A file of up to a chunk, deflated in one go.
struct WholeJob : Job {
    QByteArray path;
    int level = 0;
    bool ok = false;
    quint64 size = 0;
    unsigned long crc = 0;
    bool text = false;

    void run(ZipDeflater& deflater, std::vector<char>& input) override
    {
        if (cancelled()) {
            return;
        }
        quint64 planned = 0;
        const int fd = openRegular(path, &planned);
        if (fd < 0) {
            return;
        }
        if (input.size() < kWholeLimit + 1) {
            input.resize(kWholeLimit + 1);
        }
        // Read to the end, as the adapter would, not to the size planned.
        quint64 total = 0;
        bool failed = false;
        for (;;) {
            const ssize_t n = ::read(fd, input.data() + total, size_t(input.size() - total));
            if (n < 0 && errno == EINTR) {
                continue;
            }
            if (n < 0) {
                failed = true;
            }
            if (n <= 0) {
                break;
            }
            total += quint64(n);
            if (total > kWholeLimit) {
                failed = true;
                break;
            }
        }
        ::close(fd);
        if (failed) {
            return;
        }
        size = total;
        crc = ZipDeflater::crc32Of(0, input.data(), size_t(total));
        out = buffers->get();
        ok = deflater.deflateWhole(input.data(), size_t(total), level, &out, &text);
    }
};

// What the chunks of one large file share.
struct Source {
    int fd = -1;
    quint64 size = 0;
    ~Source()
    {
        if (fd >= 0) {
            ::close(fd);
        }
    }
};

struct ChunkJob : Job {
    std::shared_ptr<Source> source;
    quint64 offset = 0;
    quint64 length = 0;
    int level = 0;
    bool last = false;

    bool failed = false;    // no stream piece could be made
    bool shortRead = false; // the file ended early or could not be read: this piece ends the stream
    int readError = 0;      // errno of a read that failed
    quint64 got = 0;
    unsigned long crc = 0;
    bool text = false;

    void run(ZipDeflater& deflater, std::vector<char>& input) override
    {
        const quint64 window = std::min<quint64>(ZipDeflater::kDictionarySize, offset);
        if (input.size() < window + length) {
            input.resize(window + length);
        }
        if (cancelled()) {
            failed = true;
            return;
        }
        const qint64 n = readAt(source->fd, input.data(), window + length, offset - window);
        if (n < 0) {
            readError = errno;
        }
        const quint64 read = n < 0 ? 0 : quint64(n);
        // Without its whole window the piece cannot follow the one before; it
        // ends the stream with what it has, which the next read then lacks.
        const quint64 dictionary = read >= window ? window : 0;
        got = read >= window ? read - window : 0;
        shortRead = got < length;
        const char* data = input.data() + window;
        crc = ZipDeflater::crc32Of(0, data, size_t(got));
        out = buffers->get();
        bool undecided = false;
        if (!deflater.deflatePiece(input.data() + window - dictionary, size_t(dictionary), data,
                                   size_t(got), last || shortRead, level, &out, &text,
                                   &undecided)) {
            failed = true;
            return;
        }
        // The first piece's judgment may lie in input that follows it.
        quint64 at = offset + got;
        constexpr quint64 kProbe = 64 * 1024;
        if (input.size() < kProbe) {
            input.resize(kProbe);
        }
        while (undecided) {
            const quint64 want = std::min(kProbe, source->size - at);
            const qint64 m = want > 0 ? readAt(source->fd, input.data(), want, at) : 0;
            const quint64 more = m < 0 ? 0 : quint64(m);
            at += more;
            const bool end = more < want || at >= source->size;
            undecided = !deflater.judgeFurther(input.data(), size_t(more), end, &text);
        }
    }
};

struct Unit {
    enum class Kind { Adapter, Whole, Chunked };
    Kind kind = Kind::Adapter;
    std::shared_ptr<WholeJob> whole;
    bool wholeScheduled = false;
    std::shared_ptr<Source> source;
    quint64 chunkCount = 0;
    quint64 chunksScheduled = 0;
    std::deque<std::shared_ptr<ChunkJob>> chunks; // scheduled, not yet taken

    bool hasUnscheduledWork() const
    {
        return (kind == Kind::Whole && !wholeScheduled)
            || (kind == Kind::Chunked && chunksScheduled < chunkCount);
    }
};

} // namespace

struct RQDeflateQueue::Private {
    RQDeflatePool& pool;
    QStringList items;
    int level;
    std::shared_ptr<const std::atomic<bool>> cancel;
    std::shared_ptr<Buffers> buffers = std::make_shared<Buffers>();
    quint64 budget;
    int maxUnits;

    std::deque<Unit> units; // from item `front` on
    int front = 0;
    int planned = 0;
    quint64 inFlight = 0;

    Private(RQDeflatePool& p, const QStringList& list, int l,
            std::shared_ptr<const std::atomic<bool>> flag)
        : pool(p)
        , items(list)
        , level(l)
        , cancel(std::move(flag))
        , budget(kChunkSize * kChunksPerThread * quint64(p.threadCount()))
        , maxUnits(kItemsPerThread * p.threadCount())
    {
    }

    void fill();
    bool scheduleNext(Unit& unit);
    Unit plan(const QString& item) const;
    void discard(Unit& unit);
    void release(Job& job)
    {
        inFlight -= job.cost;
        buffers->put(std::move(job.out));
    }
    void dropFront()
    {
        discard(units.front());
        units.pop_front();
        ++front;
    }
};

namespace {

class WholeFile : public ZipDeflatedFile
{
public:
    WholeFile(std::shared_ptr<WholeJob> job, std::shared_ptr<Buffers> buffers)
        : m_job(std::move(job))
        , m_buffers(std::move(buffers))
    {
    }
    ~WholeFile() override { m_buffers->put(std::move(m_job->out)); }

    quint64 size() const override { return m_job->size; }
    unsigned long crcOfContents() override { return m_job->crc; }
    bool isText() override { return m_job->text; }
    bool nextPiece(Piece* piece) override
    {
        if (m_given) {
            return false;
        }
        m_given = true;
        *piece = Piece { m_job->out.data(), m_job->out.size(), m_job->size, true };
        return true;
    }
    unsigned long crc() const override { return m_job->crc; }
    bool isComplete() const override { return true; }

private:
    std::shared_ptr<WholeJob> m_job;
    std::shared_ptr<Buffers> m_buffers;
    bool m_given = false;
};

class ChunkedFile : public ZipDeflatedFile
{
public:
    explicit ChunkedFile(RQDeflateQueue::Private* queue)
        : m_queue(queue)
        , m_source(queue->units.front().source)
    {
    }
    ~ChunkedFile() override
    {
        if (m_current) {
            m_queue->release(*m_current);
        }
        m_queue->dropFront();
    }

    quint64 size() const override { return m_source->size; }

    unsigned long crcOfContents() override
    {
        std::vector<char> buffer(64 * 1024);
        unsigned long crc = 0;
        for (quint64 at = 0;;) {
            if (m_queue->cancel && m_queue->cancel->load(std::memory_order_relaxed)) {
                return ~0UL;
            }
            const qint64 n = readAt(m_source->fd, buffer.data(), buffer.size(), at);
            if (n < 0) {
                return ~0UL;
            }
            if (n == 0) {
                return crc;
            }
            crc = ZipDeflater::crc32Of(crc, buffer.data(), size_t(n));
            at += quint64(n);
        }
    }

    bool isText() override
    {
        if (!m_textKnown) {
            Unit& unit = m_queue->units.front();
            m_queue->fill();
            if (!unit.chunks.empty()) {
                m_queue->pool.complete(unit.chunks.front());
                m_text = !unit.chunks.front()->failed && unit.chunks.front()->text;
            }
            m_textKnown = true;
        }
        return m_text;
    }

    bool nextPiece(Piece* piece) override
    {
        if (m_current) {
            m_queue->release(*m_current);
            m_current.reset();
        }
        if (m_ended) {
            return false;
        }
        Unit& unit = m_queue->units.front();
        m_queue->fill();
        if (unit.chunks.empty()) {
            m_ended = true;
            return false;
        }
        m_current = std::move(unit.chunks.front());
        unit.chunks.pop_front();
        m_queue->fill();
        m_queue->pool.complete(m_current);
        const ChunkJob& chunk = *m_current;
        m_error = chunk.readError;
        if (chunk.failed) {
            m_ended = true;
            m_complete = false;
            *piece = Piece { kEndOfStream, sizeof kEndOfStream, m_covered, true };
            return true;
        }
        m_crc = crc32_combine(m_crc, chunk.crc, z_off_t(chunk.got));
        m_covered += chunk.got;
        m_ended = chunk.last || chunk.shortRead;
        m_complete = !chunk.shortRead;
        *piece = Piece { chunk.out.data(), chunk.out.size(), m_covered, m_ended };
        return true;
    }

    unsigned long crc() const override { return m_crc; }
    bool isComplete() const override { return m_ended && m_complete; }
    int systemError() const override { return m_error; }

private:
    RQDeflateQueue::Private* m_queue;
    int m_error = 0;
    std::shared_ptr<Source> m_source;
    std::shared_ptr<ChunkJob> m_current;
    unsigned long m_crc = 0;
    quint64 m_covered = 0;
    bool m_ended = false;
    bool m_complete = true;
    bool m_textKnown = false;
    bool m_text = false;
};

} // namespace

Unit RQDeflateQueue::Private::plan(const QString& item) const
{
    Unit unit;
    const QByteArray path = QFile::encodeName(item);
    struct stat st;
    if (::stat(path.constData(), &st) != 0 || !S_ISREG(st.st_mode)) {
        return unit;
    }
    if (quint64(st.st_size) <= kChunkSize) {
        unit.kind = Unit::Kind::Whole;
        unit.whole = std::make_shared<WholeJob>();
        unit.whole->path = path;
        unit.whole->level = level;
        unit.whole->buffers = buffers;
        unit.whole->cancel = cancel;
        unit.whole->cost = quint64(st.st_size);
        return unit;
    }
    // On one core, cutting a file into chunks only costs (each chunk primes
    // its deflate with the window before it): measured 8 % slower than one
    // stream on 2 GB. The adapter streams it as it always has.
    if (pool.threadCount() < 2) {
        return unit;
    }
    auto source = std::make_shared<Source>();
    source->fd = openRegular(path, &source->size);
    if (source->fd < 0) {
        return unit;
    }
    unit.kind = Unit::Kind::Chunked;
    unit.chunkCount = (source->size + kChunkSize - 1) / kChunkSize;
    unit.source = std::move(source);
    return unit;
}

bool RQDeflateQueue::Private::scheduleNext(Unit& unit)
{
    const quint64 cost = unit.kind == Unit::Kind::Whole
        ? unit.whole->cost
        : std::min(kChunkSize, unit.source->size - unit.chunksScheduled * kChunkSize);
    // Something is always under way, however large.
    if (inFlight > 0 && inFlight + cost > budget) {
        return false;
    }
    inFlight += cost;
    if (unit.kind == Unit::Kind::Whole) {
        unit.wholeScheduled = true;
        pool.post(unit.whole);
        return true;
    }
    auto chunk = std::make_shared<ChunkJob>();
    chunk->source = unit.source;
    chunk->offset = unit.chunksScheduled * kChunkSize;
    chunk->length = cost;
    chunk->level = level;
    chunk->last = ++unit.chunksScheduled == unit.chunkCount;
    chunk->buffers = buffers;
    chunk->cancel = cancel;
    chunk->cost = cost;
    unit.chunks.push_back(chunk);
    pool.post(std::move(chunk));
    return true;
}

void RQDeflateQueue::Private::fill()
{
    for (;;) {
        if (!units.empty() && units.back().hasUnscheduledWork()) {
            if (!scheduleNext(units.back())) {
                return;
            }
            continue;
        }
        if (planned >= items.size() || int(units.size()) >= maxUnits) {
            return;
        }
        units.push_back(plan(items.at(planned++)));
    }
}

void RQDeflateQueue::Private::discard(Unit& unit)
{
    const auto drop = [this](Job& job) {
        // A job a thread is running keeps its buffers until it ends.
        if (job.claim() || job.isDone()) {
            buffers->put(std::move(job.out));
        }
        inFlight -= job.cost;
    };
    if (unit.whole && unit.wholeScheduled) {
        drop(*unit.whole);
    }
    for (const std::shared_ptr<ChunkJob>& chunk : unit.chunks) {
        drop(*chunk);
    }
    unit.chunks.clear();
}

RQDeflateQueue::RQDeflateQueue(RQDeflatePool& pool, const QStringList& items, int level,
                               std::shared_ptr<const std::atomic<bool>> cancel)
    : d(std::make_unique<Private>(pool, items, level, std::move(cancel)))
{
}

RQDeflateQueue::~RQDeflateQueue()
{
    while (!d->units.empty()) {
        d->dropFront();
    }
}

std::unique_ptr<ZipDeflatedFile> RQDeflateQueue::take(int index)
{
    while (d->front < index) {
        if (d->units.empty()) {
            d->front = index;
            d->planned = std::max(d->planned, index);
            break;
        }
        d->dropFront();
    }
    d->fill();
    if (d->units.empty()) {
        return nullptr;
    }
    Unit& unit = d->units.front();
    switch (unit.kind) {
    case Unit::Kind::Adapter:
        d->units.pop_front();
        ++d->front;
        return nullptr;
    case Unit::Kind::Whole: {
        std::shared_ptr<WholeJob> job = unit.whole;
        d->pool.complete(job);
        d->inFlight -= job->cost;
        d->units.pop_front();
        ++d->front;
        d->fill();
        if (!job->ok) {
            d->buffers->put(std::move(job->out));
            return nullptr;
        }
        return std::make_unique<WholeFile>(std::move(job), d->buffers);
    }
    case Unit::Kind::Chunked:
        return std::make_unique<ChunkedFile>(d.get());
    }
    return nullptr;
}
