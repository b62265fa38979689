/// Status codes, exceptions and logging of the configuration code.
///
/// The error text and the log switch are process-wide; threads may use both at the same time.
#pragma once

#include "../util/export.h"

#include <exception>
#include <string>

namespace KORVA::DTC::CONF {

enum Status : int {
    OperationFailed = 1, ///< every failure without a more precise code
    VersionError = 2,
    MemoryAllocationFailed = 3,
    NullParameter = 4,
    InvalidVariableName = 5,
    InvalidVariableValue = 6,
    InvalidConnectionInformation = 7,
    Timeout = 8,
    InvalidFile = 9,
    NotImplemented = 10,
    ConfigurationAdapterLoadFailed = 11,
    StorageDirectoryInaccessible = 12,
    InvalidSequenceOfCalls = 13,
    RemoteProcedureCallFailed = 14,
    PeripheralAccessFailed = 15,
    SystemCallFailed = 16,
    ConfigurationDataCorrupted = 17
};

/// What configuration code throws of its own; failures of a lock, of the FPGA and of reading a
/// number pass through it as PERIPH::Exception and uString::error.
class KORVA_API Exception : public std::exception
{
public:
    /// file and line name the place of the throw and appear nowhere. The message is the text of the
    /// status and, unless detail is null, " : " and detail, which is copied.
    Exception(char const* file, unsigned int line, Status status, char const* detail);
    Exception(Exception const&) = default;
    Exception& operator=(Exception const&) = default;
    ~Exception() override;

    /// Valid as long as the exception lives.
    char const* what() const noexcept override;
    virtual Status status() const noexcept;

private:
    Status m_status;
    std::string m_message;
};

/// Replaces the text that the variable _error shows, initially "none"; null leaves it as it is.
KORVA_API void setError(char const* text);

/// Diagnostic lines of configuration code go to standard output while logging is enabled, by
/// logEnable or by the environment variable DTC_CONF_LOGGING with exactly the value "true", read at
/// each call, which logDisable cannot switch off.
KORVA_API void logEnable();
KORVA_API void logDisable();
KORVA_API bool isLogEnabled();

/// For the library itself, which does not let it out: writes the line and its end to standard
/// output, in one piece, while logging is enabled.
void logLine(std::string const& line);

} // namespace KORVA::DTC::CONF
