#pragma once

#include <QtGlobal>

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <vector>

// Hands pieces of data from a producer on a helper thread to a consumer on
// the calling thread through a few fixed buffers, so that decoding one large
// entry overlaps with checking and writing what it decoded. Memory is the
// buffers alone, whatever the size of the data.
class ZipPieceRelay
{
public:
    using Consume = std::function<bool(const char*, qsizetype)>;

    ZipPieceRelay(qsizetype slotSize, int slotCount);

    ZipPieceRelay(const ZipPieceRelay&) = delete;
    ZipPieceRelay& operator=(const ZipPieceRelay&) = delete;

    // Runs produce on a helper thread and gives every piece it publishes to
    // consume, in order, on this thread. Returns when produce has returned;
    // false when consume refused a piece (produce then finds acquire answer
    // null and must return soon). What either side throws is thrown again
    // here once the helper thread has ended.
    bool run(const std::function<void()>& produce, const Consume& consume);

    // --- producer side ---------------------------------------------------
    // The buffer to fill next (slotSize bytes), the same one until it is
    // published; null once the consumer has stopped.
    char* acquire();
    // Hands the first size bytes of the acquired buffer over. False once the
    // consumer has stopped.
    bool publish(qsizetype size);
    // Copies data through the buffers, as many pieces as it takes.
    bool relay(const char* data, qsizetype size);
    qsizetype slotSize() const { return m_slotSize; }

private:
    const qsizetype m_slotSize;
    std::vector<std::vector<char>> m_slots;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<int> m_free;
    std::deque<std::pair<int, qsizetype>> m_filled;
    int m_acquired = -1; // producer's
    bool m_produced = false;
    bool m_stopped = false;
};
