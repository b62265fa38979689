#include "periph/dtc_periph_exception.h"

#include <iterator>

namespace KORVA::DTC::PERIPH {
namespace {

// By status.
constexpr char const* texts[] = {
    "unknown status",
    "operation failed",
    "unable to map physical address into virtual address space",
    "unable to unmap virtual address",
    "timeout",
    "invalid call sequence",
    "access protected",
};

char const* textOf(Status status)
{
    auto const index = static_cast<std::size_t>(status);
    return index < std::size(texts) ? texts[index] : texts[0];
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
