# Compiler settings that every target of the project shares.
find_package(Threads REQUIRED)
add_library(orvo_options INTERFACE)
target_compile_options(orvo_options INTERFACE
    -Wall -Wextra -Wshadow -Wundef -Werror
    $<$<COMPILE_LANGUAGE:CXX,OBJCXX>:-Wnon-virtual-dtor -Woverloaded-virtual -Wextra-semi>
    -fvisibility=hidden $<$<COMPILE_LANGUAGE:CXX,OBJCXX>:-fvisibility-inlines-hidden> -fno-omit-frame-pointer
    -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)
target_include_directories(orvo_options INTERFACE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include
    ${PROJECT_BINARY_DIR}/generated)
target_link_libraries(orvo_options INTERFACE Threads::Threads ${CMAKE_DL_LIBS})
target_compile_definitions(orvo_options INTERFACE ORVO_VERSION_TEXT="${PROJECT_VERSION}")
# Lines are enough for a stack; types and variables take a third of the time to compile.
if(ORVO_SANITIZE OR CMAKE_BUILD_TYPE STREQUAL "RelWithDebInfo")
    add_compile_options(-g1)
endif()
if(ORVO_SANITIZE)
    target_compile_options(orvo_options INTERFACE -fsanitize=${ORVO_SANITIZE} -fno-sanitize-recover=all)
    target_link_options(orvo_options INTERFACE -fsanitize=${ORVO_SANITIZE})
endif()

# orvo_precompile(TARGET headers...): in the builds with sanitizers the standard headers that most files include, and the
# given ones, are read once for the target. The plain build goes without, so every file has to include what it uses.
function(orvo_precompile target)
    if(ORVO_SANITIZE)
        target_precompile_headers(${target} PRIVATE <algorithm> <atomic> <chrono> <functional> <map> <memory> <mutex>
            <string> <thread> <vector> ${ARGN})
    endif()
endfunction()
