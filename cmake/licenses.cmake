# The licence and the notices, from the two files at the root: as the text of `orvocap --licenses`, and as the copyright
# file of the packages.
file(READ LICENSE ORVO_LICENSE)
file(READ THIRD-PARTY-NOTICES.md ORVO_NOTICES)
string(STRIP "${ORVO_LICENSE}" ORVO_LICENSE)
string(STRIP "${ORVO_NOTICES}" ORVO_NOTICES)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS LICENSE THIRD-PARTY-NOTICES.md)
set(ORVO_LICENSE_SOURCE ${PROJECT_BINARY_DIR}/generated/licenses.cpp)
configure_file(tools/orvocap/licenses.cpp.in ${ORVO_LICENSE_SOURCE} @ONLY)
configure_file(cmake/copyright.in ${PROJECT_BINARY_DIR}/generated/copyright @ONLY)
