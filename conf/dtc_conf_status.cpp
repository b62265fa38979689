#include "conf/dtc_conf_status.h"

#include "conf/dtc_conf_gpp_control.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace KORVA::DTC::CONF {
namespace {

// By status; what lies outside reads as the first.
constexpr char const* texts[] = {
    "operation failed",
    "operation failed",
    "version error",
    "memory allocation failed",
    "null parameter",
    "invalid variable name",
    "invalid variable value",
    "invalid connection information",
    "timeout",
    "invalid file",
    "not implemented",
    "unable to load configuration adapter",
    "unable to access storage directory",
    "invalid sequence of calls",
    "remote procedure call failed",
    "peripheral access failed",
    "system call failed",
    "configuration data corrupted",
};

char const* textOf(Status status)
{
    auto const index = static_cast<std::size_t>(status);
    return index < std::size(texts) ? texts[index] : texts[0];
}

std::atomic<bool> g_logEnable{false};

} // namespace

Exception::Exception(char const* /*file*/, unsigned int /*line*/, Status status, char const* detail)
    : m_status(status), m_message(textOf(status))
{
    if (detail != nullptr)
        m_message.append(" : ").append(detail);
}

Exception::~Exception() = default;

char const* Exception::what() const noexcept
{
    return m_message.c_str();
}

Status Exception::status() const noexcept
{
    return m_status;
}

void setError(char const* text)
{
    if (text != nullptr)
        g_error.set(text);
}

void logEnable()
{
    g_logEnable = true;
}

void logDisable()
{
    g_logEnable = false;
}

bool isLogEnabled()
{
    if (g_logEnable)
        return true;
    char const* const wanted = std::getenv("DTC_CONF_LOGGING");
    return wanted != nullptr && std::strcmp(wanted, "true") == 0;
}

void logLine(std::string const& line)
{
    if (!isLogEnabled())
        return;
    std::string const whole = line + "\n"; // in one piece, also between threads
    std::fwrite(whole.data(), 1, whole.size(), stdout);
    std::fflush(stdout);
}

} // namespace KORVA::DTC::CONF
