#pragma once

#include <string>
#include <vector>

namespace dtcctl {

/// The names of the members of a compressed archive, which is read to its end, as the machine's
/// tar lists them. Throws Failure when it cannot be read or is damaged.
std::vector<std::string> membersOf(std::string const& file);

/// The name by which a file lies in the box's "/tmp".
std::string uploadName(std::string const& file);

/// A file's copy in the box's "/tmp", which goes at the end if it is still there. A file that lies
/// there itself is not copied, and stays.
class Upload
{
public:
    /// Throws Failure when it cannot be copied or another file of its name is there.
    explicit Upload(std::string const& file);
    ~Upload();
    Upload(Upload const&) = delete;
    Upload& operator=(Upload const&) = delete;

private:
    std::string m_copy; ///< "" when there is none
};

} // namespace dtcctl
