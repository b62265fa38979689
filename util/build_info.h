#pragma once

namespace KORVA {

/// The version of this build: four decimal numbers joined by full stops, for example "1.4.0.12".
extern char const buildVersion[];

/// The date and time of this build as the compiler's date and time macros give them, joined by a
/// blank: "Nov  2 2026 09:05:59". SOURCE_DATE_EPOCH, where it is set, decides them.
extern char const buildTime[];

} // namespace KORVA
