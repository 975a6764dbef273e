# Compiler settings. What a parent project sets for its own sources stays out of ours where it would break them.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
# Sources of one folder use the same names for their local helpers, so they cannot be compiled as one.
set(CMAKE_UNITY_BUILD OFF)
set_property(DIRECTORY PROPERTY INCLUDE_DIRECTORIES "")
find_package(Threads REQUIRED)

# For every target: warnings, sanitizers, what debuggers and messages say of the place of a source.
add_library(orvo_flags INTERFACE)
target_compile_options(orvo_flags INTERFACE
    -Wall -Wextra -Wshadow -Wundef $<$<BOOL:${ORVO_WARNINGS_AS_ERRORS}>:-Werror>
    $<$<COMPILE_LANGUAGE:CXX,OBJCXX>:-Wnon-virtual-dtor -Woverloaded-virtual -Wextra-semi>
    -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)
# g++ 12 takes an insertion into a string for an overlapping copy (fixed in 13).
target_compile_options(orvo_flags INTERFACE
    $<$<AND:$<COMPILE_LANG_AND_ID:CXX,GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>)
# Lines are enough for a stack; types and variables take a third of the time to compile.
target_compile_options(orvo_flags INTERFACE $<$<AND:$<BOOL:${ORVO_TOP_LEVEL}>,$<CONFIG:RelWithDebInfo>>:-g1>)
if(ORVO_SANITIZE)
    target_compile_definitions(orvo_flags INTERFACE ORVO_SANITIZED)
    target_compile_options(orvo_flags INTERFACE -g1 -fsanitize=${ORVO_SANITIZE} -fno-sanitize-recover=all)
    target_link_options(orvo_flags INTERFACE -fsanitize=${ORVO_SANITIZE})
endif()

# For what sees the insides of the library.
add_library(orvo_options INTERFACE)
target_compile_options(orvo_options INTERFACE
    -fvisibility=hidden $<$<COMPILE_LANGUAGE:CXX,OBJCXX>:-fvisibility-inlines-hidden> -fno-omit-frame-pointer)
target_include_directories(orvo_options INTERFACE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
target_link_libraries(orvo_options INTERFACE orvo_flags Threads::Threads ${CMAKE_DL_LIBS})
target_compile_definitions(orvo_options INTERFACE ORVO_VERSION_TEXT="${PROJECT_VERSION}")

# orvo_precompile(TARGET headers...): the standard headers that most files include, and the given ones, are read once for
# the target, in the builds with sanitizers and wherever headers are given. The library's plain build goes without, so
# every file of it has to include what it uses.
function(orvo_precompile target)
    if(ORVO_SANITIZE OR ARGN)
        target_precompile_headers(${target} PRIVATE <algorithm> <atomic> <chrono> <functional> <map> <memory> <mutex>
            <string> <thread> <vector> ${ARGN})
    endif()
endfunction()
