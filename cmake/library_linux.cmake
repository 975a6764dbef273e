# The library on Linux: the X11 adapter, the version script.
find_package(PkgConfig REQUIRED)
pkg_check_modules(ORVO_X11 REQUIRED IMPORTED_TARGET xcb)
# Loaded when first needed (platform/linux/glib.h): headers only.
pkg_check_modules(ORVO_GLIB REQUIRED glib-2.0 gio-unix-2.0 gdk-pixbuf-2.0)
# Small libraries go into ours where the system has their archives: each shared one costs time whenever ours is loaded.
find_library(ORVO_YUV NAMES libyuv.a yuv REQUIRED)
foreach(extension shm randr xfixes composite damage res xinput sync shape render)
    find_library(ORVO_XCB_${extension} NAMES libxcb-${extension}.a xcb-${extension} REQUIRED)
    target_link_libraries(PkgConfig::ORVO_X11 INTERFACE ${ORVO_XCB_${extension}})
endforeach()
orvo_room(orvo_software ScreenCapture/platform/software)
target_link_libraries(orvo_software PUBLIC ${ORVO_YUV})
orvo_room(orvo_adapter ScreenCapture/platform/linux ScreenCapture/platform/x11)
target_link_libraries(orvo_adapter PUBLIC orvo_software PkgConfig::ORVO_X11)
target_include_directories(orvo_adapter SYSTEM PRIVATE ${ORVO_GLIB_INCLUDE_DIRS})

target_sources(OrvoScreenCaptureOSX PRIVATE $<TARGET_OBJECTS:orvo_software>)
target_link_libraries(OrvoScreenCaptureOSX PRIVATE PkgConfig::ORVO_X11 ${ORVO_YUV})
set_target_properties(OrvoScreenCaptureOSX PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION 2)

set(ORVO_VERSION_SCRIPT ${PROJECT_BINARY_DIR}/generated/exports.map)
orvo_exported_names(${PROJECT_SOURCE_DIR}/scripts/version-script.sh ${ORVO_VERSION_SCRIPT})
target_link_options(OrvoScreenCaptureOSX PRIVATE -Wl,--version-script=${ORVO_VERSION_SCRIPT}
    -Wl,-Bsymbolic-functions -Wl,-z,defs -Wl,-z,nodelete)
