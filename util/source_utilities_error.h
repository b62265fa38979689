#pragma once

#include "export.h"

#include <stdexcept>

namespace KORVA {

/// The base of what the text functions throw; it carries only its message.
class KORVA_API source_utilities_error : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
    source_utilities_error(source_utilities_error const&) = default;
    source_utilities_error& operator=(source_utilities_error const&) = default;
    ~source_utilities_error() override;
};

} // namespace KORVA
