#pragma once

#include <gst/gst.h>

#include <memory>

namespace lumvik::test {

/// Smart pointers for objects of GLib and GStreamer.
struct GObjectUnref {
    template<typename T>
    void operator()(T *object) const {
        g_object_unref(object);
    }
};
template<typename T>
using GObjectPointer = std::unique_ptr<T, GObjectUnref>;

struct GstObjectUnref {
    template<typename T>
    void operator()(T *object) const {
        gst_object_unref(object);
    }
};
template<typename T>
using GstObjectPointer = std::unique_ptr<T, GstObjectUnref>;

struct GstBufferUnref {
    void operator()(GstBuffer *buffer) const { gst_buffer_unref(buffer); }
};
using GstBufferPointer = std::unique_ptr<GstBuffer, GstBufferUnref>;

struct GErrorFree {
    void operator()(GError *error) const { g_error_free(error); }
};
using GErrorPointer = std::unique_ptr<GError, GErrorFree>;

} // namespace lumvik::test
