#include "tools/dtcctl_round_trips.h"

#include <algorithm>
#include <cmath>

namespace dtcctl {

void RoundTrips::add(double milliseconds)
{
    m_minimum = m_count == 0 ? milliseconds : std::min(m_minimum, milliseconds);
    m_maximum = m_count == 0 ? milliseconds : std::max(m_maximum, milliseconds);
    ++m_count;
    double const distance = milliseconds - m_mean;
    m_mean += distance / static_cast<double>(m_count);
    m_squares += distance * (milliseconds - m_mean);
}

double RoundTrips::deviation() const
{
    return m_count == 0 ? 0 : std::sqrt(m_squares / static_cast<double>(m_count));
}

} // namespace dtcctl
