#include "util/uthread.h"

#include <sched.h>
#include <time.h>

namespace KORVA {

uRunnable::~uRunnable() = default;

uThread::uThread(uRunnable* runnable, ThreadPriority priority, unsigned int stackSize)
    : m_runnable(runnable), m_priority(priority), m_stackSize(stackSize)
{}

uThread::~uThread()
{
    uMutexGuard const guard(m_turn); // a thread that has just cleared the handle still holds it
}

bool uThread::Start()
{
    uMutexGuard const guard(m_turn);
    m_finished.Reset();
    return createDetached();
}

bool uThread::createDetached()
{
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0)
        return false;
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_t created{};
    bool const started = pthread_create(&created, &attributes, PosixThreadEntry, this) == 0;
    pthread_attr_destroy(&attributes);
    if (started)
        m_handle = created;
    return started;
}

void* uThread::PosixThreadEntry(void* arg)
{
    auto* const thread = static_cast<uThread*>(arg);
    if (thread == nullptr || thread->m_runnable == nullptr)
        return nullptr;
    thread->m_runnable->Run();
    {
        uMutexGuard const guard(thread->m_turn);
        thread->m_handle = 0;
        thread->m_finished.Set();
    }
    sched_yield();
    return nullptr;
}

bool uThread::Suspend()
{
    return false;
}

bool uThread::Resume()
{
    return false;
}

bool uThread::SetPriority(ThreadPriority priority)
{
    uMutexGuard const guard(m_turn);
    pthread_t const thread = m_handle;
    if (thread == 0) {
        m_priority = priority;
        return false;
    }
    int policy = 0;
    sched_param parameters{};
    if (pthread_getschedparam(thread, &policy, &parameters) != 0)
        return false;
    parameters.sched_priority = priority;
    if (pthread_setschedparam(thread, policy, &parameters) != 0)
        return false;
    m_priority = priority;
    return true;
}

ThreadPriority uThread::GetPriority() const
{
    uMutexGuard const guard(m_turn);
    pthread_t const thread = m_handle;
    int policy = 0;
    sched_param parameters{};
    if (thread == 0 || pthread_getschedparam(thread, &policy, &parameters) != 0)
        return m_priority;
    return static_cast<ThreadPriority>(parameters.sched_priority);
}

bool uThread::WaitUntilFinished(unsigned int timeoutMs)
{
    if (m_handle == 0 || !m_finished.Wait(timeoutMs))
        return false;
    uMutexGuard const guard(m_turn); // until the thread has left the object
    return true;
}

void uThread::Sleep(unsigned int ms)
{
    timespec const duration{static_cast<time_t>(ms / 1000),
                            static_cast<long>(ms % 1000) * 1'000'000L};
    nanosleep(&duration, nullptr);
}

void uThread::Yield()
{
    sched_yield();
}

pthread_t uThread::GetCurrent()
{
    return pthread_self();
}

} // namespace KORVA
