#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace dtcctl {

/// Running minimum, mean, maximum and deviation of round-trip times, in milliseconds.
class RoundTrips
{
public:
    void add(double milliseconds)
    {
        m_minimum = m_count == 0 ? milliseconds : std::min(m_minimum, milliseconds);
        m_maximum = std::max(m_maximum, milliseconds);
        ++m_count;
        double const distance = milliseconds - m_mean;
        m_mean += distance / static_cast<double>(m_count);
        m_squares += distance * (milliseconds - m_mean);
    }

    std::size_t count() const { return m_count; }
    double minimum() const { return m_minimum; }
    double maximum() const { return m_maximum; }
    double average() const { return m_mean; }

    /// The square root of the mean squared distance from the average, as ping(8) reports "mdev".
    double deviation() const
    {
        return m_count == 0 ? 0 : std::sqrt(m_squares / static_cast<double>(m_count));
    }

private:
    std::size_t m_count = 0;
    double m_minimum = 0;
    double m_maximum = 0;
    double m_mean = 0;
    double m_squares = 0; // of the distances from the mean, by Welford's method
};

} // namespace dtcctl
