/// Runs code that may crash, hang or end the process, in processes of its own.
#pragma once

#include "tools/dtcctl/adapter_check/library.h"

#include <chrono>
#include <functional>
#include <string>

namespace dtcctl {

enum class Result : int { Ok, Warning, Skipped, Failed };

/// How a check ended; thrown inside it to end it otherwise than Ok.
struct Finding
{
    Result result = Result::Ok;
    std::string text{};
};

/// The way from one side of a check to the other: each proceed() of one side lets one await() of
/// the other return.
class Peer
{
public:
    explicit Peer(int descriptor) : m_descriptor(descriptor) {}

    void proceed();
    void await();

    /// Whether await would return at once.
    bool mayProceed();

private:
    int m_descriptor;
};

/// One side of a check, with a library that it has to load.
using Side = std::function<void(AdapterLibrary&, Peer&)>;

/// Runs each side in a new process until all have ended or the time is over, and ends what is left
/// of them. client may be empty. Standard output of the sides goes to standard error.
Finding runIsolated(Side const& server, Side const& client, std::chrono::milliseconds limit);

} // namespace dtcctl
