#pragma once

#include "platform/linux/FileDescriptor.h"

// GStreamer's plugin for PipeWire 0.3.65 shares one connection among all that is used with it: a listing
// while a camera runs then touches freed memory when that goes, and one use that hangs stops every other. So
// each use gets a connection of its own. Threads: any.

/// A connection to the user's PipeWire; none without one.
FileDescriptor connectToPipeWire();

/// Whether the other end is gone. To take a stream down then ends the program within that version's library.
bool isConnectionLost(const FileDescriptor& connection);
