// Exchanges COUNT round trips of SIZE bytes, alone and in one thread, over the library or over
// plain sockets, so that a tracer can count what a message costs. See scripts/count-system-calls.
#include "bench/road.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

int main(int argc, char** argv)
{
    if (argc != 4) {
        std::fprintf(stderr, "usage: %s library|plain COUNT SIZE\n", argv[0]);
        return 2;
    }
    unsigned long const count = std::strtoul(argv[2], nullptr, 10);
    auto const size = static_cast<unsigned int>(std::strtoul(argv[3], nullptr, 10));
    std::vector<unsigned int> buffer(size / sizeof(unsigned int) + 1);
    bench::Road* const road =
        std::string(argv[1]) == "library" ? bench::libraryRoad : bench::plainRoad;
    auto const server = road(0);
    auto const client = road(server->port());
    for (unsigned long i = 0; i < count; ++i) {
        client->send(1, buffer.data(), size);
        server->receive(buffer.data(), size);
        server->send(1, buffer.data(), size);
        client->receive(buffer.data(), size);
    }
    return 0;
}
