#include "periph/dtc_periph_exception.h"

namespace KORVA::DTC::PERIPH {
namespace {

char const* textOf(Status status)
{
    switch (status) {
    case OperationFailed:
        return "operation failed";
    case MapFailed:
        return "unable to map physical address into virtual address space";
    case UnmapFailed:
        return "unable to unmap virtual address";
    case Timeout:
        return "timeout";
    case InvalidCallSequence:
        return "invalid call sequence";
    case AccessProtected:
        return "access protected";
    default:
        return "unknown status";
    }
}

} // namespace

Exception::Exception(char const* file, unsigned int line, Status status, char const* detail)
    : m_status(status)
{
    if (file != nullptr)
        m_message.append(file).append("(" + std::to_string(line) + ")").append(" : ");
    m_message.append(textOf(status));
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

} // namespace KORVA::DTC::PERIPH
