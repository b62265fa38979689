#pragma once

#include <skylark_io/adapter/dtc_io.h>

#include <memory>

namespace dtcctl {

/// The bytes of a message. Not initialised, so that room for a large one costs nothing until it
/// comes.
class Buffer
{
public:
    explicit Buffer(unsigned int sizeBytes)
        : m_sizeBytes(sizeBytes), m_words(new unsigned int[sizeBytes / sizeof(unsigned int) + 1])
    {}

    unsigned int size() const { return m_sizeBytes; }
    unsigned int* words() { return m_words.get(); }
    unsigned char* bytes() const { return reinterpret_cast<unsigned char*>(m_words.get()); }

private:
    unsigned int m_sizeBytes;
    std::unique_ptr<unsigned int[]> m_words;
};

/// What one receive brought: its status and, if that is success, the message's sender, tag and
/// length.
struct Received
{
    DTC_IO_STATUS status;
    unsigned int clientId;
    unsigned int tag;
    unsigned int length;
};

} // namespace dtcctl
