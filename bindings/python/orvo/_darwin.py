"""What the library offers on Linux only, by macOS's own functions of the same meaning."""
from __future__ import annotations

import ctypes
from ctypes import c_bool, c_double, c_int, c_uint64, c_void_p

_FRAMEWORKS = "/System/Library/Frameworks/{0}.framework/{0}"
_READ_ONLY = 1


def add_to(library: ctypes.CDLL) -> None:
    """Gives the library the functions orvo_pixelbuffer_* over CVPixelBuffer, and a main queue over CFRunLoop."""
    video = ctypes.CDLL(_FRAMEWORKS.format("CoreVideo"))
    foundation = ctypes.CDLL(_FRAMEWORKS.format("CoreFoundation"))
    for name, result, arguments in (
        ("CVPixelBufferRetain", c_void_p, [c_void_p]),
        ("CVPixelBufferRelease", None, [c_void_p]),
        ("CVPixelBufferLockBaseAddress", c_int, [c_void_p, c_uint64]),
        ("CVPixelBufferUnlockBaseAddress", c_int, [c_void_p, c_uint64]),
        ("CVPixelBufferGetBaseAddress", c_void_p, [c_void_p]),
    ):
        function = getattr(video, name)
        function.restype, function.argtypes = result, arguments
    run = foundation.CFRunLoopRunInMode
    run.restype, run.argtypes = c_int, [c_void_p, c_double, c_bool]
    mode = c_void_p.in_dll(foundation, "kCFRunLoopDefaultMode")

    setattr(library, "orvo_pixelbuffer_retain", video.CVPixelBufferRetain)
    setattr(library, "orvo_pixelbuffer_release", video.CVPixelBufferRelease)
    setattr(library, "orvo_pixelbuffer_lock", lambda buffer: video.CVPixelBufferLockBaseAddress(buffer, _READ_ONLY))
    setattr(library, "orvo_pixelbuffer_unlock", lambda buffer: video.CVPixelBufferUnlockBaseAddress(buffer, _READ_ONLY))
    setattr(library, "orvo_pixelbuffer_get_base_address", video.CVPixelBufferGetBaseAddress)
    setattr(library, "orvo_screencapture_run_main_queue", lambda milliseconds: run(mode, milliseconds / 1000, True))
