#include "periph/dtc_periph_lock.h"

#include "periph/dtc_periph_delay.h"
#include "periph/dtc_periph_exception.h"
#include "platform/platform.h"
#include "util/at_load.h"
#include "util/descriptor.h"

#include <algorithm>
#include <fcntl.h>
#include <new>
#include <unistd.h>

namespace KORVA::DTC::PERIPH {
namespace {

constexpr char const* fileName = "dtc_periph_lock";

} // namespace

[[gnu::init_priority(BeforeAdapter)]] uMutex LOCK::m_mutex;

LOCK::LOCK(char const* name)
{
    if (name == nullptr || *name == '\0')
        throw Exception(fileName, __LINE__, OperationFailed, "null lock name");
    m_path = std::string("/var/lock/") + name;
}

LOCK::~LOCK() = default;

void LOCK::acquire(unsigned int timeout, unsigned int interval)
{
    unsigned int const step = std::max(interval, 1U);
    unsigned int const limit = std::max(timeout / step, 1U);
    m_mutex.Lock();
    try {
        for (unsigned int attempt = 0; timeout == 0 || attempt < limit; ++attempt) {
            if (tryCreateFile())
                return;
            waitmsec(step);
        }
        throw Exception(fileName, __LINE__, Timeout, m_path.c_str());
    } catch (...) {
        removeFile();
        m_mutex.Unlock();
        throw;
    }
}

bool LOCK::tryCreateFile()
{
    std::string const name = PLATFORM::path(m_path.c_str());
    int const created = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0);
    if (created == -1)
        return false; // what an earlier acquire holds stays known to removeFile
    int const file = aboveStandardStreams(created);
    if (file == -1) {
        unlink(name.c_str());
        return false;
    }
    m_file = file;
    return true;
}

void LOCK::removeFile()
{
    if (m_file == -1)
        return;
    close(m_file);
    m_file = -1;
    try {
        unlink(PLATFORM::path(m_path.c_str()).c_str());
    } catch (std::bad_alloc const&) { // the file stays, as that of a process that was killed
    }
}

void LOCK::release()
{
    removeFile();
    m_mutex.Unlock();
}

I2C_LOCK::I2C_LOCK() : LOCK("i2c") {}

I2C_LOCK::~I2C_LOCK() = default;

} // namespace KORVA::DTC::PERIPH
