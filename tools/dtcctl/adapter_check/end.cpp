#include "tools/dtcctl/adapter_check/end.h"

#include "tools/dtcctl/support/text.h"

#include <algorithm>

namespace dtcctl {
namespace {

using Clock = std::chrono::steady_clock;
constexpr unsigned char guard = 0xA5;

[[noreturn]] void failWithError(CheckSide& side, std::string const& seen)
{
    fail(seen + ", " + side.quotedError());
}

void* handleOf(CheckSide& side, Entry entry, DTC_IO_STATUS status, void* handle, void const* before)
{
    if (status != DTC_IO_SUCCESS)
        failWithError(side, gave(entry, status));
    expect(handle != nullptr && handle != before,
           gave(entry, status) + (handle == nullptr ? " and a null handle" : " and no handle"));
    return handle;
}

unsigned char patternAt(unsigned int at, unsigned int seed)
{
    return static_cast<unsigned char>(at * 7 + at / 251 + seed);
}

} // namespace

std::string CheckSide::quotedError()
{
    if (!adapter.has(Entry::GetError))
        return "no text";
    char const* const text = adapter.call<Entry::GetError>();
    return text == nullptr ? "null" : "\"" + printable(text) + "\"";
}

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

End End::serve(CheckSide& side)
{
    int mark = 0;
    void* handle = &mark;
    DTC_IO_STATUS const status = side.adapter.create(side.subject.service.c_str(), &handle);
    return {side, handleOf(side, Entry::Create, status, handle, &mark), true};
}

End End::open(CheckSide& side)
{
    int mark = 0;
    void* handle = &mark;
    DTC_IO_STATUS const status = side.open(&handle);
    return {side, handleOf(side, Entry::Open, status, handle, &mark), false};
}

void End::fill(unsigned int length, unsigned int seed)
{
    for (unsigned int i = 0; i < length; ++i)
        m_buffer.bytes()[i] = patternAt(i, seed);
}

bool End::isFilled(unsigned int length, unsigned int seed) const
{
    unsigned int at = 0;
    while (at < length && m_buffer.bytes()[at] == patternAt(at, seed))
        ++at;
    return at == length;
}

DTC_IO_STATUS End::trySend(unsigned int clientId, unsigned int tag, unsigned int length)
{
    AdapterLibrary& adapter = m_side->adapter;
    if (!adapter.has(Entry::SendV2))
        return adapter.call<Entry::Send>(m_handle, clientId, tag, words(), length);
    unsigned int sent = ~length;
    DTC_IO_STATUS const status =
        adapter.call<Entry::SendV2>(m_handle, clientId, tag, words(), length, &sent);
    expect(status != DTC_IO_SUCCESS || sent == length, "DTC_IO_Send_V2 counted " +
                                                           std::to_string(sent) + " of " +
                                                           std::to_string(length) + " bytes");
    return status;
}

void End::send(unsigned int clientId, unsigned int tag, unsigned int length)
{
    DTC_IO_STATUS const status = trySend(clientId, tag, length);
    if (status != DTC_IO_SUCCESS)
        failWithError(*m_side, "sending " + std::to_string(length) + " bytes gave " +
                                   std::to_string(status));
}

Received End::receive(unsigned int size, unsigned int timeoutMs)
{
    unsigned char* const behind = m_buffer.bytes() + size;
    std::fill_n(behind, guardBytes, guard);
    Received result = {DTC_IO_FAILED, ~0U, ~0U, ~0U};
    result.status = m_side->adapter.call<Entry::Receive>(m_handle, &result.clientId, &result.tag,
                                                         words(), size, &result.length, timeoutMs);
    bool const isIntact = std::count(behind, behind + guardBytes, guard) == guardBytes;
    expect(isIntact, "DTC_IO_Receive wrote beyond the buffer's " + std::to_string(size) + " bytes");
    return result;
}

bool End::isWaiting(DTC_IO_STATUS status) const
{
    return status == DTC_IO_TIMEOUT || (m_isServer && status == DTC_IO_DISCONNECTED);
}

Received End::tryAwait(unsigned int size)
{
    auto const end = Clock::now() + m_side->subject.limit / 2;
    Received result = receive(size, 50);
    while (isWaiting(result.status) && Clock::now() < end)
        result = receive(size, 50);
    return result;
}

Received End::await(unsigned int size)
{
    Received const result = tryAwait(size);
    expect(!isWaiting(result.status), "nothing came within " +
                                          std::to_string((m_side->subject.limit / 2).count()) +
                                          " ms, " + gave(Entry::Receive, result.status));
    return result;
}

Received End::awaitMessage(unsigned int tag, unsigned int size)
{
    Received const message = await(size);
    if (message.status != DTC_IO_SUCCESS)
        failWithError(*m_side, gave(Entry::Receive, message.status));
    expect(message.tag == tag,
           "sent tag " + std::to_string(tag) + ", received tag " + std::to_string(message.tag));
    expect(message.length <= size, "DTC_IO_Receive counted " + std::to_string(message.length) +
                                       " bytes in a buffer of " + std::to_string(size));
    return message;
}

void End::exchange(unsigned int tag, unsigned int length)
{
    constexpr unsigned int anyClient = 0xFACE; // a client's is ignored
    fill(length, tag);
    send(anyClient, tag, length);
    std::fill_n(m_buffer.bytes(), length, guard);
    Received const reply = awaitMessage(tag, length);
    expect(reply.length == length, "of " + std::to_string(length) + " bytes " +
                                       std::to_string(reply.length) + " came back");
    expect(isFilled(length, tag), "the " + std::to_string(length) + " bytes came back changed");
}

void End::echo()
{
    do {
        Received const message = receive(largestMessage, 50);
        if (message.status == DTC_IO_SUCCESS) {
            expect(message.length <= largestMessage, "DTC_IO_Receive counted too much");
            send(message.clientId, message.tag, message.length);
        } else if (!isWaiting(message.status)) {
            failWithError(*m_side, gave(Entry::Receive, message.status));
        }
    } while (!peer().mayProceed());
    peer().await();
}

} // namespace dtcctl
