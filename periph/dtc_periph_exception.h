/// The error type of every peripheral driver.
#pragma once

#include "../util/export.h"

#include <exception>
#include <string>

namespace KORVA::DTC::PERIPH {

enum Status : int {
    OperationFailed = 1,
    MapFailed = 2, ///< a page of physical memory could not be mapped
    UnmapFailed = 3,
    Timeout = 4,             ///< a named lock was not to be had in time
    InvalidCallSequence = 5, ///< thrown by no driver of this library
    AccessProtected = 6      ///< beyond the end of the EEPROM
};

class KORVA_API Exception : public std::exception
{
public:
    /// file and line name the place of the throw; file and detail may each be null, and then do not
    /// appear in the message. Both are copied.
    Exception(char const* file, unsigned int line, Status status, char const* detail);
    Exception(Exception const&) = default;
    Exception& operator=(Exception const&) = default;
    ~Exception() override;

    /// "FILE(LINE) : STATUS : DETAIL", for example
    /// "dtc_periph_lock(78) : timeout : /var/lock/i2c". Valid as long as the exception lives.
    char const* what() const noexcept override;
    virtual Status status() const noexcept;

private:
    Status m_status;
    std::string m_message;
};

} // namespace KORVA::DTC::PERIPH
