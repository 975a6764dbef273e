# Packages, made by CPack of what is installed (./dev package): .deb and .rpm by component, and one .tar.gz of all.
# The maintainer in the packages' metadata. There is no address yet, and .invalid is reserved for that: set one before
# packages are published.
set(ORVO_CONTACT "Orvo Screen Capture maintainers <maintainers@orvo.invalid>")
set(CPACK_PACKAGE_NAME orvo-screencapture)
set(CPACK_PACKAGE_VENDOR "Orvo")
set(CPACK_PACKAGE_CONTACT ${ORVO_CONTACT})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "screen and window capture for real-time video")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/package)
set(CPACK_PACKAGE_FILE_NAME ${CPACK_PACKAGE_NAME}-${PROJECT_VERSION}-${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR})
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL runtime development python)
if(TARGET orvocap)
    list(APPEND CPACK_COMPONENTS_ALL tool)
endif()
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_RPM_COMPONENT_INSTALL ON)
set(CPACK_ARCHIVE_COMPONENT_INSTALL OFF)

# orvo_package(COMPONENT DEB_NAME RPM_NAME SECTION SUMMARY): names of a component's packages. What a package says of
# itself begins with the summary.
set(about "Orvo Screen Capture captures screens, rectangles of them and windows into raw
frames at a chosen rate, and reports everything that happens to a window.")
macro(orvo_package component deb rpm section summary)
    string(TOUPPER ${component} upper)
    set(ORVO_${upper}_DEB ${deb})
    set(CPACK_COMPONENT_${upper}_DESCRIPTION "${summary}\n${about}")
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${deb})
    set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
    set(CPACK_RPM_${upper}_PACKAGE_NAME ${rpm})
    set(CPACK_RPM_${upper}_PACKAGE_SUMMARY "${summary}")
    set(CPACK_RPM_${upper}_PACKAGE_DESCRIPTION "${about}")
endmacro()
orvo_package(runtime liborvoscreencaptureosx2 orvo-screencapture libs "screen and window capture: shared library")
orvo_package(development liborvoscreencaptureosx-dev orvo-screencapture-devel libdevel
    "screen and window capture: headers and documents")
orvo_package(tool orvocap orvocap video "screen and window capture: command-line tool")
orvo_package(python python3-orvo python3-orvo python "screen and window capture: Python module")

# What the binaries need is read from them; the library loads the rest by name: without GLib there is no main queue, and
# applications have neither names nor icons without the others.
set(version "${PROJECT_VERSION}-1")
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS libglib2.0-0)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS libgdk-pixbuf-2.0-0)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/triggers)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${ORVO_RUNTIME_DEB} (= ${version})")
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${ORVO_RUNTIME_DEB} (= ${version})")
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3 (>= 3.9), ${ORVO_RUNTIME_DEB} (= ${version})")
set(CPACK_DEBIAN_PYTHON_PACKAGE_RECOMMENDS "python3-numpy, python3-pil")
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SHLIBDEPS OFF)

set(CPACK_RPM_MAIN_COMPONENT runtime)
set(CPACK_RPM_FILE_NAME RPM-DEFAULT)
set(CPACK_RPM_PACKAGE_RELEASE 1)
set(CPACK_RPM_PACKAGE_LICENSE "All rights reserved")
set(CPACK_RPM_RUNTIME_PACKAGE_REQUIRES "libglib-2.0.so.0()(64bit)")
set(CPACK_RPM_RUNTIME_PACKAGE_SUGGESTS "libgdk_pixbuf-2.0.so.0()(64bit)")
set(CPACK_RPM_DEVELOPMENT_PACKAGE_REQUIRES "orvo-screencapture = ${version}")
set(CPACK_RPM_PYTHON_PACKAGE_REQUIRES "python3 >= 3.9, orvo-screencapture = ${version}")
set(CPACK_RPM_PYTHON_PACKAGE_ARCHITECTURE noarch)
# For the same files from every build of the same sources; rpm would note when and where each was built.
if(DEFINED ENV{SOURCE_DATE_EPOCH})
    set(CPACK_RPM_SPEC_MORE_DEFINE "%global use_source_date_epoch_as_buildtime 1
%global _buildhost localhost
%global _build_id_links none
%global __spec_install_post find $RPM_BUILD_ROOT -exec touch -h -d @$ENV{SOURCE_DATE_EPOCH} {} +")
endif()
set(CPACK_RPM_RUNTIME_POST_INSTALL_SCRIPT_FILE ${PROJECT_SOURCE_DIR}/cmake/ldconfig.sh)
set(CPACK_RPM_RUNTIME_POST_UNINSTALL_SCRIPT_FILE ${PROJECT_SOURCE_DIR}/cmake/ldconfig.sh)
set(CPACK_RPM_EXCLUDE_FROM_AUTO_FILELIST_ADDITION /usr/share/bash-completion /usr/share/bash-completion/completions
    /usr/share/fish /usr/share/fish/vendor_completions.d /usr/share/zsh /usr/share/zsh/site-functions
    /usr/share/man /usr/share/man/man1 /usr/lib/python3 /usr/${ORVO_PYTHON_DIR})

# Every Debian package holds its copyright and its changelog.
if(ORVO_DEBIAN_FILES)
    string(TIMESTAMP ORVO_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)  # SOURCE_DATE_EPOCH sets another day
    configure_file(cmake/debian-changelog.in generated/changelog.Debian @ONLY)
    execute_process(COMMAND gzip -9nc ${PROJECT_BINARY_DIR}/generated/changelog.Debian
        OUTPUT_FILE ${PROJECT_BINARY_DIR}/generated/changelog.Debian.gz)
    foreach(component IN LISTS CPACK_COMPONENTS_ALL)
        string(TOUPPER ${component} upper)
        install(FILES ${PROJECT_BINARY_DIR}/generated/copyright ${PROJECT_BINARY_DIR}/generated/changelog.Debian.gz
            DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${ORVO_${upper}_DEB} COMPONENT ${component})
    endforeach()
endif()
include(CPack)
