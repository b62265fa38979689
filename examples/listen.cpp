// The smallest program with a listener: answers every "dtc_io" message, whichever device it comes
// from, with the same bytes. Arguments: device names, "skylark0" for skylark_io.so.
#include <skylark_io/loader/io_adapter_listener.h>

#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <thread>

namespace {

constexpr std::chrono::milliseconds pause(50);

class Logger final : public KORVA::DTC::DTC_Logger
{
public:
    void log_info(char const* format, ...) override __attribute__((format(printf, 2, 3)))
    {
        va_list arguments;
        va_start(arguments, format);
        std::vfprintf(stderr, format, arguments);
        va_end(arguments);
    }

    // The listener has its errors on standard output too.
    void log_error(char const* /*format*/, ...) override {}
};

} // namespace

int main(int argc, char** argv)
{
    static unsigned int buffer[1 << 18]; // messages of up to 1 MiB
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s DEVICE..., for example %s skylark0\n", argv[0], argv[0]);
        return 2;
    }
    std::vector<std::string> devices(argv + 1, argv + argc);
    Logger logger;
    KORVA::DTC::IOAdapterListener listener(devices, "dtc_io", logger);
    while (listener.connection_count() > 0) {
        auto const begin = std::chrono::steady_clock::now();
        KORVA::DTC::IOAdapter_Connection* const ready = listener.listen(1000);
        if (ready == nullptr) {
            // An adapter without clients need not wait.
            std::this_thread::sleep_until(begin + pause);
            continue;
        }
        unsigned int client = 0;
        unsigned int tag = 0;
        unsigned int length = 0;
        DTC_IO_STATUS status = ready->receive(&client, &tag, buffer, sizeof buffer, &length, 0);
        if (status == DTC_IO_SUCCESS)
            status = ready->send(client, tag, buffer, length, nullptr);
        else
            std::this_thread::sleep_for(pause); // it may fail for ever
        // A client that leaves is no failure: the next call waits for others.
        if (status != DTC_IO_SUCCESS && status != DTC_IO_DISCONNECTED && status != DTC_IO_TIMEOUT)
            std::fprintf(stderr, "listen: %s\n", ready->get_error());
    }
    return 1;
}
