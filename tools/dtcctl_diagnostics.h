#pragma once

namespace dtcctl {

/// While it lives, what the library prints on standard output goes to standard error: standard
/// output is for results.
class DiagnosticsToStderr
{
public:
    DiagnosticsToStderr();
    ~DiagnosticsToStderr();
    DiagnosticsToStderr(DiagnosticsToStderr const&) = delete;
    DiagnosticsToStderr& operator=(DiagnosticsToStderr const&) = delete;

private:
    int m_output;
};

} // namespace dtcctl
