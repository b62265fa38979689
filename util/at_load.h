#pragma once

namespace KORVA {

/// What the library's calls work with is made when the library is loaded, before the adapter, and
/// so destroyed after it: a thread may be inside a call until then. Objects of the priority
/// BeforeAdapter are, in whatever order the files are linked; the adapter's own have none.
enum InitPriority : int { BeforeAdapter = 1000 };

/// Has a static object of a function made at load:
///     [[gnu::init_priority(BeforeAdapter)]] AtLoad const made([] { getIt(); });
class AtLoad
{
public:
    template <typename Make>
    explicit AtLoad(Make make)
    {
        make();
    }
};

} // namespace KORVA
