/// One road's two ends, each a process of its own.
#pragma once

#include "bench/compare/exchange.h"

#include <string>
#include <sys/types.h>

namespace bench {

class ContenderProcess
{
public:
    /// Starts `program role DESCRIPTOR port` and waits until it has told its own port.
    ContenderProcess(std::string const& program, char const* role, unsigned int port);
    /// Lets it end, and waits for that.
    ~ContenderProcess();
    ContenderProcess(ContenderProcess const&) = delete;
    ContenderProcess& operator=(ContenderProcess const&) = delete;

    unsigned int port() const { return m_port; }
    void order(Exchange const& exchange);
    Cost cost();
    /// The largest resident set so far.
    double peakKib() const;

private:
    void read(void* answer, std::size_t size);

    pid_t m_process = -1;
    int m_orders = -1;
    unsigned int m_port = 0;
};

} // namespace bench
