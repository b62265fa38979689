#pragma once

#include <string>
#include <vector>

namespace testing_support {

/// A member of an archive, as hostile as a test wants it. Types: '0' file, '1' hard link, '2'
/// symbolic link, '3' character device (the null device), '5' directory, '6' pipe.
struct Member
{
    std::string name;         ///< at most 100 characters
    std::string content = {}; ///< of a link: where it leads
    char type = '0';
    unsigned int mode = 0644;
};

/// The bytes of a compressed archive.
std::string archiveOf(std::vector<Member> const& members);

/// One with both images, each of which holds the text.
std::string firmwareArchive(std::string const& text);

/// The texts in the box's flash: root file system and kernel of safe mode, and the other ones.
std::string firmwareInFlash();

} // namespace testing_support
