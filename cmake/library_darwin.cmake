# The library on macOS: the adapter with its frameworks, the list of exported symbols. It is one file without a version
# in its name, as an application bundle wants it; its versions are inside.
enable_language(OBJCXX)
set(CMAKE_OBJCXX_STANDARD ${CMAKE_CXX_STANDARD})
set(CMAKE_OBJCXX_STANDARD_REQUIRED ON)
set(CMAKE_OBJCXX_EXTENSIONS OFF)
find_package(Iconv REQUIRED)
target_link_libraries(orvo_runtime PUBLIC Iconv::Iconv)

orvo_room(orvo_adapter ScreenCapture/platform/macos)
target_compile_options(orvo_adapter PRIVATE -fobjc-arc -fobjc-exceptions -Wunguarded-availability -Wundeclared-selector)

# ScreenCaptureKit is newer than the oldest system that the library runs on.
target_link_libraries(OrvoScreenCaptureOSX PRIVATE Iconv::Iconv "-weak_framework ScreenCaptureKit")
foreach(framework Accelerate AppKit ApplicationServices AVFoundation CoreFoundation CoreGraphics CoreMedia CoreVideo
        Foundation ImageIO)
    target_link_libraries(OrvoScreenCaptureOSX PRIVATE "-framework ${framework}")
endforeach()
set_target_properties(OrvoScreenCaptureOSX PROPERTIES
    INSTALL_NAME_DIR "@rpath" BUILD_WITH_INSTALL_NAME_DIR ON
    MACHO_CURRENT_VERSION ${PROJECT_VERSION} MACHO_COMPATIBILITY_VERSION ${PROJECT_VERSION_MAJOR}.0.0)

# A program binds a name to the first library on its link line that exports it, and ours has a syslog: the system's
# library goes first, so that a host's own calls reach the C library's.
target_link_options(OrvoScreenCaptureOSX INTERFACE -lSystem)

set(ORVO_EXPORTED_SYMBOLS ${PROJECT_BINARY_DIR}/generated/exports.symbols)
orvo_exported_names(${PROJECT_SOURCE_DIR}/scripts/exported-symbols.sh ${ORVO_EXPORTED_SYMBOLS})
target_link_options(OrvoScreenCaptureOSX PRIVATE -Wl,-exported_symbols_list,${ORVO_EXPORTED_SYMBOLS})

# The tests of the logic need no window server but the software room.
if(ORVO_BUILD_TESTS)
    orvo_room(orvo_software ScreenCapture/platform/software)
    target_link_libraries(orvo_software PUBLIC ${ORVO_YUV})
endif()
