# The library on Linux: the X11 adapter, the version script.
find_package(PkgConfig REQUIRED)
# Loaded when first needed (platform/linux/glib.h): headers only.
pkg_check_modules(ORVO_GLIB REQUIRED glib-2.0 gio-unix-2.0 gdk-pixbuf-2.0)

# xcb's extensions: an archive's code goes into our library, which loads faster for it.
set(modules xcb)
set(archives "")
foreach(name xcb-shm xcb-randr xcb-xfixes xcb-composite xcb-damage xcb-res xcb-xinput xcb-sync xcb-shape xcb-render)
    set(archive NOTFOUND)
    if(ORVO_STATIC_DEPS)
        find_library(ORVO_ARCHIVE_${name} lib${name}.a)
        mark_as_advanced(ORVO_ARCHIVE_${name})
        set(archive ${ORVO_ARCHIVE_${name}})
    endif()
    if(archive)
        list(APPEND archives ${archive})
    else()
        list(APPEND modules ${name})
    endif()
endforeach()
pkg_check_modules(ORVO_X11 REQUIRED IMPORTED_TARGET ${modules})
target_link_libraries(PkgConfig::ORVO_X11 INTERFACE ${archives})

orvo_room(orvo_software ScreenCapture/platform/software)
target_link_libraries(orvo_software PUBLIC ${ORVO_YUV})
if(ORVO_SANITIZE)  # its loops over pixels would take most of the tests' time
    target_compile_options(orvo_software PRIVATE -O1)
endif()
orvo_room(orvo_adapter ScreenCapture/platform/linux ScreenCapture/platform/x11)
target_link_libraries(orvo_adapter PUBLIC orvo_software PkgConfig::ORVO_X11)
target_include_directories(orvo_adapter SYSTEM PRIVATE ${ORVO_GLIB_INCLUDE_DIRS})

target_sources(OrvoScreenCaptureOSX PRIVATE $<TARGET_OBJECTS:orvo_software>)
target_link_libraries(OrvoScreenCaptureOSX PRIVATE PkgConfig::ORVO_X11 ${ORVO_YUV})
set_target_properties(OrvoScreenCaptureOSX PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION 2)

set(ORVO_VERSION_SCRIPT ${PROJECT_BINARY_DIR}/generated/exports.map)
orvo_exported_names(${PROJECT_SOURCE_DIR}/scripts/version-script.sh ${ORVO_VERSION_SCRIPT})
target_link_options(OrvoScreenCaptureOSX PRIVATE -Wl,--version-script=${ORVO_VERSION_SCRIPT}
    -Wl,-Bsymbolic-functions -Wl,-z,nodelete)
if(NOT ORVO_SANITIZE)  # clang's sanitizers are in the program, not in a library
    target_link_options(OrvoScreenCaptureOSX PRIVATE -Wl,-z,defs)
endif()
