#pragma once

#include <vector>

#include "platform/camera.h"
#include "platform/linux/camera/program/GstPointer.h"

// What a camera offers, which GStreamer calls its caps, looked at.

/// The part of a device's caps that can be turned into our pixels, in the device's order. With null, or for a
/// device that takes anything: all that can.
GstPointer<GstCaps> readableCaps(const GstCaps* offered);

/// The sizes in it, each once. A range of widths or heights counts as what of it is nearest to 640 or 480,
/// and what is left open as 0.
std::vector<CameraSize> sizesOf(const GstCaps* readable);

/// Whether there is no colour in any of it.
bool isGreyOnly(const GstCaps* readable);

/// What to ask the device for to get pictures of that size: one format at one rate. Null when it has none.
///
/// The rate is the lowest that is at least 10 pictures a second: four of them are looked at, and one that is
/// wanted shall come soon, but each costs power, and a slow camera sees more in the dark. Pixels as they are
/// go before JPEG, for a pressed picture is seen less well, unless only JPEG comes that fast.
GstPointer<GstCaps> chosenCaps(const GstCaps* readable, const CameraSize& size);
