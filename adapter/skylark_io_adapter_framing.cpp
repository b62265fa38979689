#include "adapter/skylark_io_adapter_framing.h"

#include "adapter/skylark_io_adapter_connection.h"
#include "adapter/skylark_io_adapter_peer_watch.h"
#include "util/usocket.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <endian.h>

namespace KORVA::DTC {
namespace {

constexpr char const* fileName = "skylark_io_adapter_framing.cpp";
constexpr char const* disconnected = "Client has disconnected";

void encodeWord(unsigned char* bytes, std::uint32_t word)
{
    std::uint32_t const littleEndian = htole32(word);
    std::memcpy(bytes, &littleEndian, sizeof littleEndian);
}

std::uint32_t decodeWord(unsigned char const* bytes)
{
    std::uint32_t littleEndian = 0;
    std::memcpy(&littleEndian, bytes, sizeof littleEndian);
    return le32toh(littleEndian);
}

void store(unsigned int* target, unsigned int value)
{
    if (target != nullptr)
        *target = value;
}

} // namespace

MessageHeader::Bytes MessageHeader::encode() const
{
    Bytes bytes;
    encodeWord(&bytes[0], magic);
    encodeWord(&bytes[4], reserved);
    encodeWord(&bytes[8], byteCount);
    encodeWord(&bytes[12], tag);
    return bytes;
}

MessageHeader MessageHeader::decode(Bytes const& bytes)
{
    return {decodeWord(&bytes[0]), decodeWord(&bytes[4]), decodeWord(&bytes[8]),
            decodeWord(&bytes[12])};
}

/// Moves all length bytes, however many calls that takes. Returns the socket's result.
template <typename Transfer>
unsigned int skylark_Connection::transfer_whole(uSocket& socket, unsigned int length,
                                                Transfer transfer)
{
    PeerWatch watch;
    unsigned int result = uSocket::Success;
    for (unsigned int done = 0; result == uSocket::Success && done < length;) {
        unsigned int count = 0;
        result = transfer(done, &count);
        if (result != uSocket::Success) {
            result = after_failure(socket, result, watch);
            continue;
        }
        done += count;
        if (done < length && is_closing())
            return uSocket::ConnectionLost;
    }
    return result;
}

unsigned int skylark_Connection::write_whole(uSocket& socket, unsigned char const* bytes,
                                             unsigned int length)
{
    return transfer_whole(socket, length, [&](unsigned int done, unsigned int* count) {
        return socket.WriteData(bytes, length - done, done, count);
    });
}

unsigned int skylark_Connection::read_whole(uSocket& socket, unsigned char* bytes,
                                            unsigned int length)
{
    return transfer_whole(socket, length, [&](unsigned int done, unsigned int* count) {
        return socket.ReadData(bytes, length - done, done, count);
    });
}

/// A transfer that only woke up, because it has been waiting for its peer or a signal came, goes on
/// unless there is nothing to wait for.
unsigned int skylark_Connection::after_failure(uSocket const& socket, unsigned int result,
                                               PeerWatch& watch)
{
    if (result != uSocket::Failed || (errno != EAGAIN && errno != EINTR))
        return result;
    bool const isOver = is_closing() || watch.findsGone(socket.GetDescriptor(), PeerWatch::nowMs());
    return isOver ? uSocket::ConnectionLost : uSocket::Success;
}

DTC_IO_STATUS skylark_Connection::send_sock(uSocket* socket, unsigned int tag, unsigned int* buffer,
                                            unsigned int length, unsigned int* sent)
{
    if (length == 0 || buffer == nullptr || socket == nullptr)
        return DTC_IO_INVALID;
    MessageHeader::Bytes const header =
        MessageHeader{MessageHeader::Magic, 0, length, tag}.encode();
    unsigned int result = write_whole(*socket, header.data(), MessageHeader::Size);
    if (result == uSocket::Success)
        result = write_whole(*socket, reinterpret_cast<unsigned char const*>(buffer), length);
    if (result == uSocket::Success) {
        store(sent, length);
        return DTC_IO_SUCCESS;
    }
    return transfer_failed(*socket, result, "WriteData");
}

DTC_IO_STATUS skylark_Connection::receive_sock(uSocket* socket, unsigned int* tag,
                                               unsigned int* buffer, unsigned int size,
                                               unsigned int* received)
{
    if (buffer == nullptr || socket == nullptr || tag == nullptr || size == 0)
        return fail(DTC_IO_INVALID, "Invalid parameter");
    store(received, 0);
    *tag = 0;

    MessageHeader::Bytes bytes;
    unsigned int result = read_whole(*socket, bytes.data(), MessageHeader::Size);
    if (result != uSocket::Success)
        return transfer_failed(*socket, result, nullptr);
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
        return discard_payload(*socket, payload, size, header.byteCount);
    result = read_whole(*socket, payload, header.byteCount);
    if (result != uSocket::Success)
        return transfer_failed(*socket, result, "ReadData");
    store(received, header.byteCount);
    *tag = header.tag;
    return DTC_IO_SUCCESS;
}

DTC_IO_STATUS skylark_Connection::discard_payload(uSocket& socket, unsigned char* buffer,
                                                  unsigned int size, unsigned int length)
{
    m_error.set("Message too large for buffer");
    unsigned int const result =
        transfer_whole(socket, length, [&](unsigned int done, unsigned int* count) {
            return socket.ReadData(buffer, std::min(length - done, size), 0, count);
        });
    return result == uSocket::Success ? DTC_IO_INVALID
                                      : transfer_failed(socket, result, "ReadData");
}

DTC_IO_STATUS skylark_Connection::transfer_failed(uSocket const& socket, unsigned int result,
                                                  char const* call)
{
    if (result == uSocket::ConnectionLost)
        return fail(DTC_IO_DISCONNECTED, disconnected);
    fail(DTC_IO_FAILED, socket.GetLastErrorText());
    if (call != nullptr)
        std::printf("%s(%d) %s() returned error[%d]: %s\n", fileName, __LINE__, call,
                    static_cast<int>(result), get_error());
    return DTC_IO_FAILED;
}

} // namespace KORVA::DTC
