#pragma once

/// Marks what skylark_io.so lets out; everything else is compiled with hidden visibility.
#define KORVA_API __attribute__((visibility("default")))
