// A client program for the tests: exchanges messages with an echoing server on this machine,
// through skylark_io.so loaded by a proxy, and checks every byte. Arguments: the service and the
// number of messages. Exit status 0 when all was right, else a line says what was wrong.
#include "loader/io_adapter_proxy.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

int main(int argc, char** argv)
{
    if (argc != 3)
        return 2;
    KORVA::DTC::IOAdapterProxy adapter;
    KORVA::DTC::IOAdapter_Connection* box = nullptr;
    if (!adapter.Load("skylark_io.so") || (box = adapter.open("0x7F000001", argv[1])) == nullptr) {
        std::printf("%s\n", adapter.get_error());
        return 1;
    }
    std::minstd_rand random(std::random_device{}());
    std::vector<unsigned int> words(16'384);
    std::vector<unsigned int> reply(words.size());
    for (unsigned int tag = static_cast<unsigned int>(std::strtoul(argv[2], nullptr, 10)); tag > 0;
         --tag) {
        unsigned int const size = 1U << random() % 14;
        unsigned int sent = 0;
        unsigned int server = 0;
        unsigned int replyTag = 0;
        unsigned int received = 0;
        for (unsigned int i = 0; i < size; ++i)
            words[i] = static_cast<unsigned int>(random());
        if (box->send(0, tag, words.data(), size * 4, &sent) != DTC_IO_SUCCESS ||
            box->receive(&server, &replyTag, reply.data(), size * 4, &received, 60'000) !=
                DTC_IO_SUCCESS ||
            sent != size * 4 || received != sent || replyTag != tag ||
            !std::equal(words.data(), words.data() + size, reply.data())) {
            std::printf("message %u of %u bytes: %s\n", tag, size * 4, box->get_error());
            return 1;
        }
    }
    return 0;
}
