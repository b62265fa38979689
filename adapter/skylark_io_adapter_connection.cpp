#include "adapter/skylark_io_adapter_connection.h"

#include "adapter/skylark_io_adapter_call.h"
#include "adapter/skylark_io_adapter_framing.h"
#include "adapter/skylark_io_adapter_peer_watch.h"
#include "util/message_path.h"
#include "util/usocket.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <thread>

namespace KORVA::DTC {
namespace {

void store(unsigned int* target, unsigned int value)
{
    if (target != nullptr)
        *target = value;
}

} // namespace

skylark_Connection::skylark_Connection(uSocket* socket) : m_socket(socket) {}

skylark_Connection::~skylark_Connection() = default;

DTC_IO_STATUS skylark_Connection::get_local_id(unsigned int* id)
{
    if (id == nullptr)
        return DTC_IO_INVALID;
    *id = m_socket->GetLocalPort();
    return DTC_IO_SUCCESS;
}

DTC_IO_STATUS skylark_Connection::get_state(DTC_IO_LOADERIF** state)
{
    if (state != nullptr)
        *state = nullptr;
    return DTC_IO_SUCCESS;
}

char const* skylark_Connection::get_error()
{
    return m_error.c_str();
}

DTC_IO_STATUS skylark_Connection::fail(DTC_IO_STATUS status, char const* text)
{
    m_error.set(text);
    return status;
}

void skylark_Connection::endCalls()
{
    while (Call::isUnderWay(this)) {
        m_waker.wake();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

DTC_IO_STATUS skylark_Connection::closed()
{
    return fail(DTC_IO_DISCONNECTED, "Connection has been closed");
}

/// A peer whose window is closed is asked less and less often whether it has opened, in the end
/// every two minutes; Linux 6.15 and later can be told to go on asking.
void skylark_Connection::limitStalls(uSocket const& socket)
{
    constexpr timeval wakesUp{0, 100'000};
    constexpr int TcpRtoMaxMs = 44; // TCP_RTO_MAX_MS, which linux/tcp.h has had since then
    constexpr int asksMs = 5000;
    int const descriptor = socket.GetDescriptor();
    setsockopt(descriptor, SOL_SOCKET, SO_SNDTIMEO, &wakesUp, sizeof wakesUp);
    setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &wakesUp, sizeof wakesUp);
    setsockopt(descriptor, IPPROTO_TCP, TcpRtoMaxMs, &asksMs, sizeof asksMs);
}

/// Moves all length bytes, however many calls that takes. Returns the socket's result.
template <typename Transfer>
unsigned int skylark_Connection::transferWhole(uSocket& socket, unsigned int length,
                                               Transfer transfer)
{
    PeerWatch watch;
    unsigned int result = uSocket::Success;
    for (unsigned int done = 0; result == uSocket::Success && done < length;) {
        unsigned int count = 0;
        result = transfer(done, &count);
        if (result != uSocket::Success) {
            result = afterFailure(socket, result, watch);
            continue;
        }
        done += count;
        if (done < length && isClosing())
            return uSocket::ConnectionLost;
    }
    return result;
}

unsigned int skylark_Connection::writeWhole(uSocket& socket, unsigned char const* bytes,
                                            unsigned int length)
{
    return transferWhole(socket, length, [&](unsigned int done, unsigned int* count) {
        return socket.WriteData(bytes, length - done, done, count);
    });
}

unsigned int skylark_Connection::readWhole(uSocket& socket, unsigned char* bytes,
                                           unsigned int length)
{
    return transferWhole(socket, length, [&](unsigned int done, unsigned int* count) {
        return socket.ReadData(bytes, length - done, done, count);
    });
}

/// A transfer that only woke up, because it has been waiting for its peer or a signal came, goes on
/// unless there is nothing to wait for.
unsigned int skylark_Connection::afterFailure(uSocket const& socket, unsigned int result,
                                              PeerWatch& watch)
{
    if (result != uSocket::Failed || (errno != EAGAIN && errno != EINTR))
        return result;
    bool const isOver = isClosing() || watch.findsGone(socket.GetDescriptor(), PeerWatch::nowMs());
    return isOver ? uSocket::ConnectionLost : uSocket::Success;
}

KORVA_ONE_PIECE DTC_IO_STATUS skylark_Connection::send_sock(uSocket* socket, unsigned int tag,
                                                            unsigned int* buffer,
                                                            unsigned int length, unsigned int* sent)
{
    if (length == 0 || buffer == nullptr || socket == nullptr)
        return DTC_IO_INVALID;
    MessageHeader::Bytes const header =
        MessageHeader{MessageHeader::Magic, 0, length, tag}.encode();
    unsigned int result = writeWhole(*socket, header.data(), MessageHeader::Size);
    if (result == uSocket::Success)
        result = writeWhole(*socket, reinterpret_cast<unsigned char const*>(buffer), length);
    if (result == uSocket::Success) {
        store(sent, length);
        return DTC_IO_SUCCESS;
    }
    return transferFailed(*socket, result, "WriteData");
}

KORVA_ONE_PIECE DTC_IO_STATUS skylark_Connection::receive_sock(uSocket* socket, unsigned int* tag,
                                                               unsigned int* buffer,
                                                               unsigned int size,
                                                               unsigned int* received)
{
    if (buffer == nullptr || socket == nullptr || tag == nullptr || size == 0)
        return fail(DTC_IO_INVALID, "Invalid parameter");
    store(received, 0);
    *tag = 0;

    MessageHeader::Bytes bytes;
    unsigned int result = readWhole(*socket, bytes.data(), MessageHeader::Size);
    if (result != uSocket::Success)
        return transferFailed(*socket, result, nullptr);
    MessageHeader const header = MessageHeader::decode(bytes);
    if (header.byteCount == 0)
        return fail(DTC_IO_FAILED, "Invalid byte count in message header\n");
    if (header.magic != MessageHeader::Magic) {
        char text[64];
        std::snprintf(text, sizeof text, "invalid header received by ReadData(): %x\n",
                      header.magic);
        return fail(DTC_IO_FAILED, text);
    }

    auto* const payload = reinterpret_cast<unsigned char*>(buffer);
    if (header.byteCount > size)
        return discardPayload(*socket, payload, size, header.byteCount);
    result = readWhole(*socket, payload, header.byteCount);
    if (result != uSocket::Success)
        return transferFailed(*socket, result, "ReadData");
    store(received, header.byteCount);
    *tag = header.tag;
    return DTC_IO_SUCCESS;
}

DTC_IO_STATUS skylark_Connection::discardPayload(uSocket& socket, unsigned char* buffer,
                                                 unsigned int size, unsigned int length)
{
    m_error.set("Message too large for buffer");
    unsigned int const result =
        transferWhole(socket, length, [&](unsigned int done, unsigned int* count) {
            return socket.ReadData(buffer, std::min(length - done, size), 0, count);
        });
    return result == uSocket::Success ? DTC_IO_INVALID : transferFailed(socket, result, "ReadData");
}

DTC_IO_STATUS skylark_Connection::transferFailed(uSocket const& socket, unsigned int result,
                                                 char const* call)
{
    constexpr char const* fileName = "skylark_io_adapter_framing.cpp"; // as the diagnostics have it
    if (result == uSocket::ConnectionLost)
        return fail(DTC_IO_DISCONNECTED, "Client has disconnected");
    fail(DTC_IO_FAILED, socket.GetLastErrorText());
    if (call != nullptr)
        std::printf("%s(%d) %s() returned error[%d]: %s\n", fileName, __LINE__, call,
                    static_cast<int>(result), get_error());
    return DTC_IO_FAILED;
}

} // namespace KORVA::DTC
