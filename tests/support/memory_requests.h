#pragma once

namespace testing_support {

/// How many of its requests for memory the thread is still granted; -1: all. For programs that have
/// memory_requests.cpp among their sources.
extern thread_local int memoryRequestsLeft;

} // namespace testing_support
