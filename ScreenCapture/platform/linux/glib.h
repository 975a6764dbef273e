// GLib and what builds on it, loaded when first needed: linked in, they would double the time that loading the library
// takes. A host that has them already shares its own.
#pragma once

#include <gdk-pixbuf/gdk-pixbuf.h>
#include <gio/gdesktopappinfo.h>
#include <glib.h>

namespace orvo::platform::linux {

// The functions of each library that are used, each named once.
#define ORVO_GLIB_CALLS(CALL)               \
    CALL(g_main_context_acquire)            \
    CALL(g_main_context_default)            \
    CALL(g_main_context_iteration)          \
    CALL(g_main_context_ref_thread_default) \
    CALL(g_main_context_release)            \
    CALL(g_main_context_unref)              \
    CALL(g_main_context_wakeup)             \
    CALL(g_source_attach)                   \
    CALL(g_source_destroy)                  \
    CALL(g_source_new)                      \
    CALL(g_source_set_callback)             \
    CALL(g_source_set_name)                 \
    CALL(g_source_set_ready_time)           \
    CALL(g_source_unref)
#define ORVO_GIO_CALLS(CALL)                      \
    CALL(g_app_info_get_all)                      \
    CALL(g_app_info_get_id)                       \
    CALL(g_app_info_get_name)                     \
    CALL(g_desktop_app_info_get_filename)         \
    CALL(g_desktop_app_info_get_startup_wm_class) \
    CALL(g_desktop_app_info_get_string)           \
    CALL(g_desktop_app_info_get_type)             \
    CALL(g_free)                                  \
    CALL(g_get_system_data_dirs)                  \
    CALL(g_get_user_data_dir)                     \
    CALL(g_list_free_full) CALL(g_object_unref) CALL(g_type_check_instance_is_a)
#define ORVO_PIXBUF_CALLS(CALL)      \
    CALL(gdk_pixbuf_format_get_name) \
    CALL(gdk_pixbuf_get_file_info)   \
    CALL(gdk_pixbuf_get_height)      \
    CALL(gdk_pixbuf_get_n_channels)  \
    CALL(gdk_pixbuf_get_rowstride)   \
    CALL(gdk_pixbuf_get_width)       \
    CALL(gdk_pixbuf_new_from_file)   \
    CALL(gdk_pixbuf_new_from_file_at_scale) CALL(gdk_pixbuf_read_pixels) CALL(g_free) CALL(g_object_unref)

struct LoadedCalls {
    bool found = false;
    bool missing = false;  // the library cannot be loaded; neither is set while there are no descriptors to try
};
// A library's functions as members of their names: all of them, or none when the library is not there.
#define ORVO_MEMBER(name) decltype(&::name) name = nullptr;  // NOLINT(bugprone-macro-parentheses): a name
struct GlibCalls : LoadedCalls {
    ORVO_GLIB_CALLS(ORVO_MEMBER)
};
struct GioCalls : LoadedCalls {
    ORVO_GIO_CALLS(ORVO_MEMBER)
};
struct PixbufCalls : LoadedCalls {
    ORVO_PIXBUF_CALLS(ORVO_MEMBER)
};
#undef ORVO_MEMBER

// Each loads its library at the first call, for good, and says in the log when that fails; without free descriptors at
// a later call. Callable from any thread.
const GlibCalls& glib();
const GioCalls& gio();
const PixbufCalls& pixbuf();

}  // namespace orvo::platform::linux
