#include "zip/ZipPieceRelay.h"

#include <cstring>
#include <exception>
#include <thread>

ZipPieceRelay::ZipPieceRelay(qsizetype slotSize, int slotCount)
    : m_slotSize(slotSize)
    , m_slots(size_t(slotCount))
{
}

bool ZipPieceRelay::run(const std::function<void()>& produce, const Consume& consume)
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_free.clear();
        m_filled.clear();
        for (int i = 0; i < int(m_slots.size()); ++i) {
            m_free.push_back(i);
        }
        m_acquired = -1;
        m_produced = false;
        m_stopped = false;
    }
    // What the producer throws (out of memory, a decoder's own error) is
    // thrown again here, on the caller's thread, where the job can report it:
    // thrown on the helper thread it would end the process.
    std::exception_ptr producerThrew;
    std::thread producer([&] {
        try {
            produce();
        } catch (...) {
            producerThrew = std::current_exception();
        }
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_produced = true;
        }
        m_changed.notify_all();
    });
    bool accepted = true;
    for (;;) {
        std::pair<int, qsizetype> piece;
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_changed.wait(lock, [this] { return !m_filled.empty() || m_produced; });
            if (m_filled.empty()) {
                break;
            }
            piece = m_filled.front();
            m_filled.pop_front();
        }
        std::exception_ptr thrown;
        try {
            accepted = consume(m_slots[size_t(piece.first)].data(), piece.second);
        } catch (...) {
            thrown = std::current_exception();
            accepted = false;
        }
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_free.push_back(piece.first);
            m_stopped = !accepted;
        }
        m_changed.notify_all();
        if (thrown) {
            producer.join();
            std::rethrow_exception(thrown);
        }
        if (!accepted) {
            break;
        }
    }
    producer.join();
    if (producerThrew) {
        std::rethrow_exception(producerThrew);
    }
    return accepted;
}

char* ZipPieceRelay::acquire()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_acquired < 0) {
        m_changed.wait(lock, [this] { return !m_free.empty() || m_stopped; });
        if (m_stopped) {
            return nullptr;
        }
        m_acquired = m_free.front();
        m_free.pop_front();
    }
    if (m_stopped) {
        return nullptr;
    }
    std::vector<char>& slot = m_slots[size_t(m_acquired)];
    // Touched once per run by the producer: slots of an unused relay cost nothing.
    if (qsizetype(slot.size()) < m_slotSize) {
        slot.resize(size_t(m_slotSize));
    }
    return slot.data();
}

bool ZipPieceRelay::publish(qsizetype size)
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_stopped) {
            return false;
        }
        if (m_acquired < 0 || size <= 0) {
            return true;
        }
        m_filled.emplace_back(m_acquired, size);
        m_acquired = -1;
    }
    m_changed.notify_all();
    return true;
}

bool ZipPieceRelay::relay(const char* data, qsizetype size)
{
    while (size > 0) {
        char* slot = acquire();
        if (!slot) {
            return false;
        }
        const qsizetype n = qMin(size, m_slotSize);
        std::memcpy(slot, data, size_t(n));
        if (!publish(n)) {
            return false;
        }
        data += n;
        size -= n;
    }
    return true;
}
