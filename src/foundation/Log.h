#pragma once

/// Writes one line, printf style, to "velu.log" in the data folder, with the local time in front, and to the
/// debug output. Longer lines are cut at 2047 bytes. A line is lost when the log can't be opened.
/// Threads: any; lines never interleave.
[[gnu::format(printf, 1, 2)]] void logLine(const char* format, ...);
