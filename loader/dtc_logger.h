#pragma once

#include "../util/export.h"

namespace KORVA::DTC {

/// Where the library reports progress and failures; a program derives its own logger.
///
/// Each operation takes a format and arguments as printf(3) does; the lines of log_info end with a
/// line feed, those of log_error do not. The library calls log_info and log_error alone, on the
/// thread that called the library, and keeps no logger after the call.
///
/// The order is part of the binary interface: log_info and log_error are the fifth and the sixth
/// entry of the table of virtual functions. A virtual destructor would take two entries of it, so
/// there is none, and nobody can destroy a logger through this class.
class KORVA_API DTC_Logger
{
public:
    virtual void log_trace(char const* /*format*/, ...) __attribute__((format(printf, 2, 3))) {}
    virtual void log_debug(char const* /*format*/, ...) __attribute__((format(printf, 2, 3))) {}
    virtual void log_notice(char const* /*format*/, ...) __attribute__((format(printf, 2, 3))) {}
    virtual void log_warning(char const* /*format*/, ...) __attribute__((format(printf, 2, 3))) {}
    virtual void log_info(char const* format, ...) __attribute__((format(printf, 2, 3))) = 0;
    virtual void log_error(char const* format, ...) __attribute__((format(printf, 2, 3))) = 0;

protected:
    ~DTC_Logger() = default;
};

} // namespace KORVA::DTC
