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
    add_library(${name} OBJECT ${sources})
    target_link_libraries(${name} PUBLIC orvo_options)
    orvo_precompile(${name})
endfunction()

orvo_room(orvo_runtime xplatform/common common/utils)
orvo_room(orvo_log ScreenCapture/log)
# With types, so that lint can compare the interface with the recorded one.
file(GLOB exports ScreenCapture/api/exports_*.cpp)
set_source_files_properties(${exports} PROPERTIES COMPILE_OPTIONS $<$<CONFIG:RelWithDebInfo>:-g>)
orvo_room(orvo_logic ScreenCapture/api ScreenCapture/capture ScreenCapture/window ScreenCapture/thumbnail)

# The adapter, the objects of the library and the way it is linked are the system's.
set(ORVO_EXPORTS ${PROJECT_SOURCE_DIR}/ScreenCapture/api/exports.list ${PROJECT_SOURCE_DIR}/scripts/exports.sh)
file(GLOB ORVO_SYSTEM_EXPORTS CONFIGURE_DEPENDS ScreenCapture/api/exports_${ORVO_SYSTEM}.cpp)
add_library(OrvoScreenCaptureOSX SHARED ${ORVO_SYSTEM_EXPORTS}
    $<TARGET_OBJECTS:orvo_runtime> $<TARGET_OBJECTS:orvo_log> $<TARGET_OBJECTS:orvo_logic> $<TARGET_OBJECTS:orvo_adapter>)
add_library(Orvo::ScreenCapture ALIAS OrvoScreenCaptureOSX)
target_link_libraries(OrvoScreenCaptureOSX PRIVATE orvo_options)
target_include_directories(OrvoScreenCaptureOSX INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>)

# The C++ base runtime and the log are in the same library; hosts that use them say so, because their headers are found
# below folders with common names. Only the public ones are in the folder that is searched.
set(ORVO_RUNTIME_HEADERS ${PROJECT_BINARY_DIR}/generated/orvo-runtime)
file(GLOB runtime_headers CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR} xplatform/common/*.h)
list(FILTER runtime_headers EXCLUDE REGEX
    "/orvo(assert|failure|fe_wait|stream_text|sys|sys_thread|syslog_line|syslog_slots|task_queue|thread_slots|waker)\\.h$")
foreach(header IN LISTS runtime_headers ITEMS common/utils/orvo_queue_runner.h ScreenCapture/log/orvo_log.h
        ScreenCapture/log/sym_encrypt.h)
    configure_file(${header} ${ORVO_RUNTIME_HEADERS}/${header} COPYONLY)
endforeach()
add_library(OrvoRuntime INTERFACE)
add_library(Orvo::Runtime ALIAS OrvoRuntime)
target_link_libraries(OrvoRuntime INTERFACE OrvoScreenCaptureOSX)
target_compile_features(OrvoRuntime INTERFACE cxx_std_20)
target_include_directories(OrvoRuntime INTERFACE $<BUILD_INTERFACE:${ORVO_RUNTIME_HEADERS}>)

# orvo_exported_names(SCRIPT FILE): what SCRIPT prints of the one list of exports, as a file that the linker reads.
function(orvo_exported_names script file)
    add_custom_command(OUTPUT ${file} COMMAND ${script} > ${file} DEPENDS ${ORVO_EXPORTS} ${script} VERBATIM)
    add_custom_target(orvo_exported_names DEPENDS ${file})
    add_dependencies(OrvoScreenCaptureOSX orvo_exported_names)
    set_property(TARGET OrvoScreenCaptureOSX APPEND PROPERTY LINK_DEPENDS ${file})
endfunction()
include(cmake/yuv.cmake)
include(cmake/library_${ORVO_SYSTEM}.cmake)
