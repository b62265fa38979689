// A client program for the tests: exchanges messages of mixed sizes with an echoing "dtc_io" server
// on this machine, through skylark_io.so, and checks every byte. Arguments: the number of messages,
// and a seed that makes this client's content its own, and a FIFO at which it waits before it
// leaves. Exit status 0 when all was right, else a line says what was wrong.
#include "adapter/dtc_io.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <random>
#include <unistd.h>
#include <vector>

namespace {

constexpr unsigned int largestBytes = 1U << 20;

class Exchange
{
public:
    Exchange(unsigned int seed, char const* gate) : m_random(seed), m_gate(gate)
    {
        for (unsigned char& byte : m_pattern)
            byte = static_cast<unsigned char>(m_random());
    }

    bool run(unsigned int messages)
    {
        if (DTC_IO_Open("0x7F000001", "dtc_io", &m_box) != DTC_IO_SUCCESS)
            return fail("open", 0);
        for (unsigned int i = 0; i < messages; ++i) {
            if (!exchangeOne(i == 0 ? largestBytes : size(), static_cast<unsigned int>(m_random())))
                return false;
        }
        close(open(m_gate, O_RDONLY)); // stays connected until somebody opens the other end
        DTC_IO_Close(m_box);
        return true;
    }

private:
    /// Each power of two is as likely as the next one, the largest apart.
    unsigned int size()
    {
        if (m_random() % 200 == 0)
            return largestBytes;
        double const exponent = std::uniform_real_distribution<double>(0, 16)(m_random);
        return static_cast<unsigned int>(std::exp2(exponent));
    }

    bool exchangeOne(unsigned int length, unsigned int tag)
    {
        auto const start = static_cast<std::ptrdiff_t>(m_random() % largestBytes);
        unsigned char const* const content = m_pattern.data() + start;
        std::memcpy(m_words.data(), content, length);
        unsigned int count = 0;
        if (DTC_IO_Send_V2(m_box, 0, tag, m_words.data(), length, &count) != DTC_IO_SUCCESS ||
            count != length)
            return fail("send", length);
        std::memset(m_words.data(), 0, length);
        unsigned int server = 0;
        unsigned int replyTag = 0;
        if (DTC_IO_Receive(m_box, &server, &replyTag, m_words.data(), largestBytes, &count,
                           60'000) != DTC_IO_SUCCESS)
            return fail("receive", length);
        if (server != 55755 || replyTag != tag || count != length ||
            std::memcmp(m_words.data(), content, length) != 0)
            return fail("wrong reply", length);
        return true;
    }

    bool fail(char const* what, unsigned int length)
    {
        std::printf("%s, %u bytes: %s\n", what, length, DTC_Get_Error());
        return false;
    }

    std::minstd_rand m_random;
    char const* m_gate;
    void* m_box = nullptr;
    std::vector<unsigned char> m_pattern = std::vector<unsigned char>(2 * largestBytes);
    std::vector<unsigned int> m_words = std::vector<unsigned int>(largestBytes / 4);
};

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4)
        return 2;
    unsigned long const messages = std::strtoul(argv[1], nullptr, 10);
    unsigned long const seed = std::strtoul(argv[2], nullptr, 10);
    return Exchange(static_cast<unsigned int>(seed), argv[3])
                   .run(static_cast<unsigned int>(messages))
               ? 0
               : 1;
}
