#include "tools/dtcctl/adapter_check/end.h"

#include "tools/dtcctl/support/text.h"

#include <algorithm>

namespace dtcctl {
namespace {

using Clock = std::chrono::steady_clock;
constexpr unsigned char guard = 0xA5;
constexpr unsigned int largestMessage = 1U << 20;

void* handleOf(AdapterLibrary& library, Entry entry, DTC_IO_STATUS status, void* handle,
               void const* before)
{
    if (status != DTC_IO_SUCCESS)
        failWithError(library, gave(entry, status));
    expect(handle != nullptr && handle != before,
           gave(entry, status) + (handle == nullptr ? " and a null handle" : " and no handle"));
    return handle;
}

unsigned char patternAt(unsigned int at, unsigned int seed)
{
    return static_cast<unsigned char>(at * 7 + at / 251 + seed);
}

} // namespace

void expect(bool holds, std::string const& seen)
{
    if (!holds)
        fail(seen);
}

void fail(std::string const& seen)
{
    throw Finding{Result::Failed, seen};
}

void skip(std::string const& why)
{
    throw Finding{Result::Skipped, why};
}

std::string gave(Entry entry, DTC_IO_STATUS status)
{
    return std::string(nameOf(entry)) + " gave " + std::to_string(status);
}

std::string quotedError(AdapterLibrary& library)
{
    if (!library.has(Entry::GetError))
        return "no text";
    char const* const text = library.getError();
    return text == nullptr ? "null" : "\"" + printable(text) + "\"";
}

void failWithError(AdapterLibrary& library, std::string const& seen)
{
    fail(seen + ", " + quotedError(library));
}

End End::serve(CheckSide& side)
{
    int mark = 0;
    void* handle = &mark;
    DTC_IO_STATUS const status = side.adapter.create(side.subject.service.c_str(), &handle);
    return {side, handleOf(side.adapter, Entry::Create, status, handle, &mark), true};
}

End End::open(CheckSide& side)
{
    int mark = 0;
    void* handle = &mark;
    DTC_IO_STATUS const status =
        side.adapter.open(side.subject.address.c_str(), side.subject.service.c_str(), &handle);
    return {side, handleOf(side.adapter, Entry::Open, status, handle, &mark), false};
}

DTC_IO_STATUS End::trySend(unsigned int clientId, unsigned int tag, Buffer& buffer,
                           unsigned int length)
{
    if (!m_side.adapter.has(Entry::SendV2))
        return m_side.adapter.sendOld(m_handle, clientId, tag, buffer.words(), length);
    unsigned int sent = ~length;
    DTC_IO_STATUS const status =
        m_side.adapter.sendV2(m_handle, clientId, tag, buffer.words(), length, &sent);
    expect(status != DTC_IO_SUCCESS || sent == length, "DTC_IO_Send_V2 counted " +
                                                           std::to_string(sent) + " of " +
                                                           std::to_string(length) + " bytes");
    return status;
}

void End::send(unsigned int clientId, unsigned int tag, Buffer& buffer, unsigned int length)
{
    DTC_IO_STATUS const status = trySend(clientId, tag, buffer, length);
    if (status != DTC_IO_SUCCESS)
        failWithError(m_side.adapter, "sending " + std::to_string(length) + " bytes gave " +
                                          std::to_string(status));
}

Received End::receive(Buffer& buffer, unsigned int size, unsigned int timeoutMs)
{
    std::fill(buffer.bytes() + size, buffer.bytes() + buffer.size(), guard);
    Received result = {DTC_IO_FAILED, ~0U, ~0U, ~0U};
    result.status = m_side.adapter.receive(m_handle, &result.clientId, &result.tag, buffer.words(),
                                           size, &result.length, timeoutMs);
    bool const isIntact = std::all_of(buffer.bytes() + size, buffer.bytes() + buffer.size(),
                                      [](unsigned char byte) { return byte == guard; });
    expect(isIntact, "DTC_IO_Receive wrote beyond the buffer's " + std::to_string(size) + " bytes");
    return result;
}

bool End::isWaiting(DTC_IO_STATUS status) const
{
    return status == DTC_IO_TIMEOUT || (m_isServer && status == DTC_IO_DISCONNECTED);
}

Received End::tryAwait(Buffer& buffer, unsigned int size)
{
    auto const end = Clock::now() + m_side.subject.limit / 2;
    Received result = receive(buffer, size, 50);
    while (isWaiting(result.status) && Clock::now() < end)
        result = receive(buffer, size, 50);
    return result;
}

Received End::await(Buffer& buffer, unsigned int size)
{
    Received const result = tryAwait(buffer, size);
    expect(!isWaiting(result.status), "nothing came within " +
                                          std::to_string((m_side.subject.limit / 2).count()) +
                                          " ms, " + gave(Entry::Receive, result.status));
    return result;
}

Received End::awaitMessage(unsigned int tag, Buffer& buffer, unsigned int size)
{
    Received const message = await(buffer, size);
    if (message.status != DTC_IO_SUCCESS)
        failWithError(m_side.adapter, gave(Entry::Receive, message.status));
    expect(message.tag == tag,
           "sent tag " + std::to_string(tag) + ", received tag " + std::to_string(message.tag));
    expect(message.length <= size, "DTC_IO_Receive counted " + std::to_string(message.length) +
                                       " bytes in a buffer of " + std::to_string(size));
    return message;
}

void End::exchange(unsigned int tag, unsigned int length)
{
    constexpr unsigned int anyClient = 0xFACE; // a client's is ignored
    Buffer buffer(length + 64);
    fill(buffer, length, tag);
    send(anyClient, tag, buffer, length);
    std::fill(buffer.bytes(), buffer.bytes() + length, guard);
    Received const reply = awaitMessage(tag, buffer, length);
    expect(reply.length == length, "of " + std::to_string(length) + " bytes " +
                                       std::to_string(reply.length) + " came back");
    expect(isFilled(buffer, length, tag),
           "the " + std::to_string(length) + " bytes came back changed");
}

void End::echo()
{
    Buffer buffer(largestMessage);
    do {
        Received const message = receive(buffer, buffer.size(), 50);
        if (message.status == DTC_IO_SUCCESS) {
            expect(message.length <= buffer.size(), "DTC_IO_Receive counted too much");
            send(message.clientId, message.tag, buffer, message.length);
        } else if (!isWaiting(message.status)) {
            failWithError(m_side.adapter, gave(Entry::Receive, message.status));
        }
    } while (!m_side.peer.mayProceed());
    m_side.peer.await();
}

DTC_IO_STATUS End::ready(unsigned int timeoutMs)
{
    return m_side.adapter.receiveReady(m_handle, timeoutMs);
}

void End::close()
{
    m_side.adapter.close(m_handle);
    m_handle = nullptr;
}

void fill(Buffer& buffer, unsigned int length, unsigned int seed)
{
    for (unsigned int i = 0; i < length; ++i)
        buffer.bytes()[i] = patternAt(i, seed);
}

Buffer filled(unsigned int size, unsigned int length, unsigned int seed)
{
    Buffer buffer(size);
    fill(buffer, length, seed);
    return buffer;
}

bool isFilled(Buffer& buffer, unsigned int length, unsigned int seed)
{
    for (unsigned int i = 0; i < length; ++i) {
        if (buffer.bytes()[i] != patternAt(i, seed))
            return false;
    }
    return true;
}

} // namespace dtcctl
