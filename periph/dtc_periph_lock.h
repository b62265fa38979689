/// Named locks, by which the programs on the box take turns on shared hardware.
///
/// A lock keeps other processes out by a file in /var/lock that is created exclusively, and the
/// other threads of the process by one re-entrant mutex that all locks share, whatever their names.
/// A process that ends without releasing leaves its file behind, and the name stays locked until
/// somebody removes it.
#pragma once

#include "../util/export.h"
#include "../util/umutex.h"

#include <string>

namespace KORVA::DTC::PERIPH {

class KORVA_API KORVA_CAPABILITY LOCK
{
public:
    /// Throws OperationFailed for a null or empty name. Touches no file.
    explicit LOCK(char const* name);

    /// Does not release: a holder calls release() on every path, or uses LockHold.
    virtual ~LOCK();
    LOCK(LOCK const&) = delete;
    LOCK& operator=(LOCK const&) = delete;

    /// Takes the lock, trying every interval milliseconds (0 counts as 1), timeout / interval times
    /// and at least once; a timeout of 0 tries without limit. Whatever keeps the file from being
    /// created counts as taken, a missing directory and want of descriptors too. Waiting for
    /// another thread of this process has no limit either. Throws Timeout, with the file's path,
    /// after the last attempt. Nothing is held then.
    /// The holding thread may acquire locks of other names; the same name again would wait for
    /// itself.
    void acquire(unsigned int timeout, unsigned int interval) KORVA_ACQUIRE();

    /// Gives the lock up: once after each successful acquire of this object, by the same thread.
    void release() KORVA_RELEASE();

private:
    bool tryCreateFile() KORVA_REQUIRES(m_mutex);
    void removeFile() KORVA_REQUIRES(m_mutex);

    static uMutex m_mutex;

    std::string m_path;
    int m_file KORVA_GUARDED_BY(m_mutex) = -1; // -1: this object holds nothing
};

/// The lock that guards all traffic on the I2C bus: "i2c".
class KORVA_API I2C_LOCK : public LOCK
{
public:
    I2C_LOCK();
    ~I2C_LOCK() override;
};

/// Holds a lock from construction to destruction. Throws as acquire does.
class [[nodiscard]] KORVA_SCOPED_CAPABILITY LockHold
{
public:
    LockHold(LOCK& lock, unsigned int timeout, unsigned int interval) KORVA_ACQUIRE(lock)
        : m_lock(lock)
    {
        m_lock.acquire(timeout, interval);
    }
    ~LockHold() KORVA_RELEASE() { m_lock.release(); }
    LockHold(LockHold const&) = delete;
    LockHold& operator=(LockHold const&) = delete;

private:
    LOCK& m_lock;
};

} // namespace KORVA::DTC::PERIPH
