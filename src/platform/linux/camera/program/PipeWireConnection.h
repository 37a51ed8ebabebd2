#pragma once

#include "platform/linux/processes/FileDescriptor.h"

/// A connection to the user's PipeWire; none without one.
///
/// GStreamer's plugin for PipeWire 0.3.65 shares one connection among all that is used with it, and a camera
/// that is looked for by the one that another runs with touches freed memory. So each use gets its own.
/// Its end is also the sign that PipeWire has ended.
FileDescriptor connectToPipeWire();
