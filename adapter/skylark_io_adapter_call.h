#pragma once

#include <pthread.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace KORVA::DTC {

/// A call of the C interface while it is under way: what it works on, a connection or the adapter,
/// cannot be freed meanwhile, because whoever frees it waits for the call to be over.
///
/// Its place in a table of the process costs a call one atomic exchange, on a line of memory that
/// calls of other connections seldom share. The table is there before the library's statics are
/// built and stays after they are gone, up to the end of the process.
class [[nodiscard]] Call
{
public:
    explicit Call(void const* object) : m_place(hasEnded() ? nullptr : &take(object)) {}
    ~Call()
    {
        if (m_place == nullptr)
            return;
        m_place->thread.store(0, std::memory_order_relaxed);
        m_place->object.store(nullptr, std::memory_order_release);
    }
    Call(Call const&) = delete;
    Call& operator=(Call const&) = delete;

    /// False once the library has come to its end: there is nothing to work on any more.
    bool mayBegin() const { return m_place != nullptr && !hasEnded(); }

    /// Lets no call begin any more.
    static void end() { s_ended = true; }
    static bool hasEnded() { return s_ended.load(); }

    /// Whether another thread's call works on the object. One of the calling thread's own does not
    /// count: it could not be waited for.
    static bool isUnderWay(void const* object);
    /// Whether another thread is in any call, and whether the calling thread itself is.
    static bool isUnderWay();
    static bool isInterrupted();

    /// In a child process: the calls of threads that it does not have are none.
    static void forgetOtherThreads();

private:
    /// Free while it holds no object.
    struct Place
    {
        std::atomic<void const*> object{nullptr};
        std::atomic<pthread_t> thread{0};
    };
    /// As many as there can be connections.
    static constexpr std::size_t placeCount = 1024;

    static Place& take(void const* object)
    {
        std::size_t const first = reinterpret_cast<std::uintptr_t>(object) >> 6;
        for (std::size_t i = 0;; ++i) {
            Place& place = s_places[(first + i) % placeCount];
            void const* none = nullptr;
            if (place.object.load(std::memory_order_relaxed) == nullptr &&
                place.object.compare_exchange_strong(none, object)) {
                place.thread.store(pthread_self(), std::memory_order_relaxed);
                return place;
            }
        }
    }

    static Place s_places[placeCount];
    static std::atomic<bool> s_ended;

    Place* m_place;
};

} // namespace KORVA::DTC
