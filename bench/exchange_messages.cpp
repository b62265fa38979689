// Exchanges COUNT round trips of SIZE bytes, alone and in one thread, over the library or over
// plain sockets, so that a tracer can count what a message costs. See scripts/count-system-calls.
#include "bench/message_road.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

template <typename Road>
void exchange(unsigned long count, unsigned int size)
{
    std::vector<unsigned int> buffer(size / sizeof(unsigned int) + 1);
    typename Road::Server server;
    typename Road::Client client(server.port());
    for (unsigned long i = 0; i < count; ++i) {
        client.send(1, buffer.data(), size);
        server.receive(buffer.data(), size);
        server.send(1, buffer.data(), size);
        client.receive(buffer.data(), size);
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4) {
        std::fprintf(stderr, "usage: %s library|plain COUNT SIZE\n", argv[0]);
        return 2;
    }
    unsigned long const count = std::strtoul(argv[2], nullptr, 10);
    auto const size = static_cast<unsigned int>(std::strtoul(argv[3], nullptr, 10));
    if (std::string(argv[1]) == "library")
        exchange<bench::LibraryRoad>(count, size);
    else
        exchange<bench::PlainRoad>(count, size);
    return 0;
}
