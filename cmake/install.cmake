# What `cmake --install` puts under a prefix, in four components: runtime (the library), development (headers, CMake
# package, pkg-config files, documents), tool (orvocap with its pages), python. Nothing in it names the prefix, so the
# whole of it may be moved.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
set(ORVO_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/OrvoScreenCapture)
option(ORVO_DEBIAN_FILES "install what and where Debian's packages have it" OFF)
set(ORVO_DOC_DIR ${CMAKE_INSTALL_DATAROOTDIR}/doc/orvo-screencapture)

set_target_properties(OrvoScreenCaptureOSX PROPERTIES EXPORT_NAME ScreenCapture)
set_target_properties(OrvoRuntime PROPERTIES EXPORT_NAME Runtime)
install(TARGETS OrvoScreenCaptureOSX EXPORT OrvoScreenCapture
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS OrvoRuntime EXPORT OrvoScreenCapture INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/orvo-runtime)

set(headers include/orvo/screencapture.h include/orvo/screencapture_additions.h include/orvo/screencapture_lists.h
    include/orvo/screencapture_types.h)
if(NOT APPLE)
    list(APPEND headers include/orvo/screencapture_linux.h)
endif()
install(FILES ${headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/orvo COMPONENT development)
install(DIRECTORY ${ORVO_RUNTIME_HEADERS} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

install(EXPORT OrvoScreenCapture NAMESPACE Orvo:: FILE OrvoScreenCaptureTargets.cmake
    DESTINATION ${ORVO_CMAKE_DIR} COMPONENT development)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/generated/OrvoScreenCaptureConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES cmake/OrvoScreenCaptureConfig.cmake
    ${PROJECT_BINARY_DIR}/generated/OrvoScreenCaptureConfigVersion.cmake DESTINATION ${ORVO_CMAKE_DIR} COMPONENT development)

# pkg-config finds the prefix from the place of the file itself.
file(RELATIVE_PATH ORVO_PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
# See library_darwin.cmake for -lSystem. A library whose name begins with @rpath is found by a run path only.
if(APPLE)
    set(ORVO_PC_BEFORE "-lSystem ")
    set(ORVO_PC_AFTER " -Wl,-rpath,\${libdir}")
endif()
foreach(name orvo-screencapture orvo-runtime)
    configure_file(cmake/${name}.pc.in generated/${name}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/generated/${name}.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endforeach()

if(TARGET orvocap)
    # The run path of the build leaves its length in the installed program, so it names no folder of this machine.
    set_target_properties(orvocap PROPERTIES BUILD_RPATH_USE_ORIGIN ON)
    # In the system's own prefix the loader finds the library.
    if(NOT CMAKE_INSTALL_PREFIX STREQUAL /usr)
        file(RELATIVE_PATH bin_to_library /prefix/${CMAKE_INSTALL_BINDIR} /prefix/${CMAKE_INSTALL_LIBDIR})
        set_target_properties(orvocap PROPERTIES
            INSTALL_RPATH $<IF:$<BOOL:${APPLE}>,@loader_path,$ORIGIN>/${bin_to_library})
    endif()
    install(TARGETS orvocap RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)

    set(pages ${PROJECT_BINARY_DIR}/generated)
    if(ORVO_DEBIAN_FILES)
        set(zsh vendor-completions)
    else()
        set(zsh site-functions)
    endif()
    install(FILES ${pages}/orvocap.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tool)
    install(FILES ${pages}/orvocap.bash DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/bash-completion/completions COMPONENT tool
        RENAME orvocap)
    install(FILES ${pages}/orvocap.fish DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/fish/vendor_completions.d COMPONENT tool)
    install(FILES ${pages}/orvocap.zsh DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/zsh/${zsh} COMPONENT tool RENAME _orvocap)
endif()

# Where the system's Python searches below its prefix.
find_program(ORVO_PYTHON python3 HINTS /usr/bin)
set(Python3_EXECUTABLE ${ORVO_PYTHON})
find_package(Python3 COMPONENTS Interpreter)
set(folder lib/python3/dist-packages)
if(Python3_SITELIB MATCHES "^.*/(lib/python[^/]*/[^/]*)$")
    set(folder ${CMAKE_MATCH_1})
endif()
set(ORVO_PYTHON_DIR ${folder} CACHE STRING "where the Python module goes, below the prefix")
install(DIRECTORY bindings/python/orvo DESTINATION ${ORVO_PYTHON_DIR} COMPONENT python PATTERN __pycache__ EXCLUDE)

install(FILES README.md CHANGELOG.md CONTRIBUTING.md SECURITY.md LICENSE THIRD-PARTY-NOTICES.md
    ${PROJECT_BINARY_DIR}/generated/copyright DESTINATION ${ORVO_DOC_DIR} COMPONENT development)
install(DIRECTORY docs examples DESTINATION ${ORVO_DOC_DIR} COMPONENT development
    PATTERN doxygen EXCLUDE PATTERN __pycache__ EXCLUDE PATTERN examples/CMakeLists.txt EXCLUDE)
