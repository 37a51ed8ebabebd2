#pragma once

#include <gst/gst.h>

#include <memory>

struct GstUnref {
    void operator()(GstCaps* caps) const { gst_caps_unref(caps); }
    void operator()(GstSample* sample) const { gst_sample_unref(sample); }
    void operator()(GstStructure* structure) const { gst_structure_free(structure); }
    template <typename Object>
    void operator()(Object* object) const {
        gst_object_unref(object);
    }
};

/// The owner of one reference to a thing of GStreamer's.
template <typename Thing>
using GstPointer = std::unique_ptr<Thing, GstUnref>;
