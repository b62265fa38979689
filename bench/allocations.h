#pragma once

namespace bench {

/// How often the process has asked for memory so far, the library's requests included.
unsigned long allocations();

} // namespace bench
