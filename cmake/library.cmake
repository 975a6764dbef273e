# The rooms of the library, each an object library of its own, and the shared library that is made of them.
if(APPLE)
    set(ORVO_SYSTEM darwin)
else()
    set(ORVO_SYSTEM linux)
endif()

# orvo_room(NAME folders...): one object library over the sources of the folders (not below them).
# Sources named *_darwin and *_linux take part on their own system only.
function(orvo_room name)
    set(patterns "")
    foreach(folder IN LISTS ARGN)
        list(APPEND patterns ${PROJECT_SOURCE_DIR}/${folder}/*.cpp ${PROJECT_SOURCE_DIR}/${folder}/*.mm)
    endforeach()
    file(GLOB sources CONFIGURE_DEPENDS ${patterns})
    list(FILTER sources EXCLUDE REGEX "exports_(linux|darwin)\\.cpp$")
    if(ORVO_SYSTEM STREQUAL linux)
        list(FILTER sources EXCLUDE REGEX "_darwin\\.cpp$")
    else()
        list(FILTER sources EXCLUDE REGEX "_linux\\.cpp$")
    endif()
    if(NOT sources)  # a room that nobody has moved into yet
        set(sources ${PROJECT_BINARY_DIR}/generated/empty.cpp)
        file(CONFIGURE OUTPUT ${sources} CONTENT "// Nothing here yet.\n")
    endif()
    add_library(${name} OBJECT ${sources})
    target_link_libraries(${name} PUBLIC orvo_options)
endfunction()

orvo_room(orvo_runtime xplatform/common common/utils)
orvo_room(orvo_log ScreenCapture/log)
orvo_room(orvo_logic ScreenCapture/api ScreenCapture/capture ScreenCapture/window ScreenCapture/thumbnail)

if(NOT APPLE)
    find_package(PkgConfig REQUIRED)
    pkg_check_modules(ORVO_X11 REQUIRED IMPORTED_TARGET xcb xcb-shm xcb-randr xcb-xfixes xcb-composite xcb-damage xcb-res
        xcb-xinput xcb-shape xcb-render glib-2.0 gio-2.0 gdk-pixbuf-2.0)
    find_library(ORVO_YUV yuv REQUIRED)
    orvo_room(orvo_software ScreenCapture/platform/software)
    target_link_libraries(orvo_software PUBLIC ${ORVO_YUV})
    orvo_room(orvo_adapter ScreenCapture/platform/x11)
    target_link_libraries(orvo_adapter PUBLIC orvo_software PkgConfig::ORVO_X11)
endif()

set(ORVO_EXPORTS ${PROJECT_SOURCE_DIR}/ScreenCapture/api/exports.list)
file(GLOB ORVO_SYSTEM_EXPORTS CONFIGURE_DEPENDS ScreenCapture/api/exports_${ORVO_SYSTEM}.cpp)
add_library(OrvoScreenCaptureOSX SHARED ${ORVO_SYSTEM_EXPORTS}
    $<TARGET_OBJECTS:orvo_runtime> $<TARGET_OBJECTS:orvo_log> $<TARGET_OBJECTS:orvo_logic> $<TARGET_OBJECTS:orvo_adapter>
    $<$<NOT:$<BOOL:${APPLE}>>:$<TARGET_OBJECTS:orvo_software>>)
target_link_libraries(OrvoScreenCaptureOSX PRIVATE orvo_options PkgConfig::ORVO_X11 ${ORVO_YUV})
target_include_directories(OrvoScreenCaptureOSX INTERFACE ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR})
set_target_properties(OrvoScreenCaptureOSX PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION 2)

# One list names what is exported; the version script is made from it.
set(ORVO_VERSION_SCRIPT ${PROJECT_BINARY_DIR}/generated/exports.map)
add_custom_command(OUTPUT ${ORVO_VERSION_SCRIPT}
    COMMAND ${PROJECT_SOURCE_DIR}/scripts/version-script.sh > ${ORVO_VERSION_SCRIPT}
    DEPENDS ${ORVO_EXPORTS} ${PROJECT_SOURCE_DIR}/scripts/version-script.sh VERBATIM)
add_custom_target(orvo_version_script DEPENDS ${ORVO_VERSION_SCRIPT})
add_dependencies(OrvoScreenCaptureOSX orvo_version_script)
set_property(TARGET OrvoScreenCaptureOSX APPEND PROPERTY LINK_DEPENDS ${ORVO_VERSION_SCRIPT})
target_link_options(OrvoScreenCaptureOSX PRIVATE -Wl,--version-script=${ORVO_VERSION_SCRIPT}
    -Wl,-Bsymbolic-functions -Wl,-z,defs -Wl,-z,nodelete)
