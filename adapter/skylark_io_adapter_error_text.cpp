#include "adapter/skylark_io_adapter_error_text.h"

namespace KORVA::DTC {

void ErrorText::set(std::string_view text)
{
    MutexGuard const guard(m_mutex);
    std::size_t const next = (m_current + 1) % m_texts.size();
    m_texts[next] = text;
    m_current = next;
}

void ErrorText::set(ErrorText const& other)
{
    MutexGuard const guard(other.m_mutex);
    set(std::string_view(other.m_texts[other.m_current]));
}

} // namespace KORVA::DTC
