# What `cmake --install` puts under a prefix: library, headers, CMake package, pkg-config file, orvocap with its pages,
# documents. Nothing in it names the prefix, so the whole of it may be moved.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
set(ORVO_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/OrvoScreenCapture)

# The headers of the base runtime and of the log include each other by their place in the sources; they keep it under
# include/orvo, and the package names both folders.
set(ORVO_HEADER_DIR ${CMAKE_INSTALL_INCLUDEDIR}/orvo)
set_target_properties(OrvoScreenCaptureOSX PROPERTIES EXPORT_NAME ScreenCapture)
target_include_directories(OrvoScreenCaptureOSX INTERFACE
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}> $<INSTALL_INTERFACE:${ORVO_HEADER_DIR}>)
install(TARGETS OrvoScreenCaptureOSX EXPORT OrvoScreenCapture LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})

install(FILES include/orvo/screencapture.h include/orvo/screencapture_additions.h include/orvo/screencapture_lists.h
    include/orvo/screencapture_types.h DESTINATION ${ORVO_HEADER_DIR})
if(NOT APPLE)
    install(FILES include/orvo/screencapture_linux.h DESTINATION ${ORVO_HEADER_DIR})
endif()
file(GLOB base_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/xplatform/common/*.h)
list(FILTER base_headers EXCLUDE REGEX
    "/orvo(assert|failure|fe_wait|stream_text|sys|sys_thread|syslog_line|syslog_slots|task_queue|thread_slots|waker)\\.h$")
install(FILES ${base_headers} DESTINATION ${ORVO_HEADER_DIR}/xplatform/common)
install(FILES common/utils/orvo_queue_runner.h DESTINATION ${ORVO_HEADER_DIR}/common/utils)
install(FILES ScreenCapture/log/orvo_log.h ScreenCapture/log/sym_encrypt.h
    DESTINATION ${ORVO_HEADER_DIR}/ScreenCapture/log)

install(EXPORT OrvoScreenCapture NAMESPACE Orvo:: FILE OrvoScreenCaptureConfig.cmake DESTINATION ${ORVO_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/generated/OrvoScreenCaptureConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/generated/OrvoScreenCaptureConfigVersion.cmake DESTINATION ${ORVO_CMAKE_DIR})

# pkg-config finds the prefix from the place of the file itself.
file(RELATIVE_PATH ORVO_PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(cmake/orvo-screencapture.pc.in generated/orvo-screencapture.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/generated/orvo-screencapture.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

if(TARGET orvocap)
    file(RELATIVE_PATH bin_to_library /prefix/${CMAKE_INSTALL_BINDIR} /prefix/${CMAKE_INSTALL_LIBDIR})
    set_target_properties(orvocap PROPERTIES
        INSTALL_RPATH $<IF:$<BOOL:${APPLE}>,@loader_path,$ORIGIN>/${bin_to_library})
    install(TARGETS orvocap RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

    set(pages ${PROJECT_BINARY_DIR}/generated)
    install(FILES ${pages}/orvocap.man DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 RENAME orvocap.1)
    install(FILES ${pages}/orvocap.bash DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/bash-completion/completions
        RENAME orvocap)
    install(FILES ${pages}/orvocap.fish DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/fish/vendor_completions.d)
    # A Debian package has a folder of its own for zsh.
    install(CODE "set(ORVO_ZSH_FOLDER site-functions)
        if(CMAKE_INSTALL_PREFIX STREQUAL /usr AND EXISTS /etc/debian_version)
            set(ORVO_ZSH_FOLDER vendor-completions)
        endif()")
    install(FILES ${pages}/orvocap.zsh DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/zsh/\${ORVO_ZSH_FOLDER}"
        RENAME _orvocap)
endif()

# Where Debian's Python searches below /usr, of whatever version it is.
install(DIRECTORY bindings/python/orvo DESTINATION lib/python3/dist-packages PATTERN __pycache__ EXCLUDE)

set(ORVO_DOC_DIR ${CMAKE_INSTALL_DATAROOTDIR}/doc/orvo-screencapture)
install(FILES README.md CHANGELOG.md CONTRIBUTING.md LICENSE THIRD-PARTY-NOTICES.md ${PROJECT_BINARY_DIR}/generated/copyright
    DESTINATION ${ORVO_DOC_DIR})
install(DIRECTORY docs examples DESTINATION ${ORVO_DOC_DIR} PATTERN doxygen EXCLUDE PATTERN __pycache__ EXCLUDE)
