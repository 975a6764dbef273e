# Writes the version of a build as a header: cmake -DSOURCE= -DVERSION= -DHEADER= -P commit.cmake. What is built from the
# repository carries its commit, except from the tag of the release.
set(commit "")
find_program(git git)
if(git AND EXISTS ${SOURCE}/.git)
    execute_process(COMMAND ${git} describe --exact-match --tags --dirty --match v${VERSION} WORKING_DIRECTORY ${SOURCE}
        OUTPUT_VARIABLE tag OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    if(NOT tag STREQUAL v${VERSION})
        execute_process(COMMAND ${git} describe --always --dirty --abbrev=10 --exclude * WORKING_DIRECTORY ${SOURCE}
            OUTPUT_VARIABLE commit OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    endif()
endif()
if(commit)
    set(VERSION "${VERSION} (commit ${commit})")
endif()
set(text "#define ORVOCAP_BUILD \"${VERSION}\"\n")
set(old "")
if(EXISTS ${HEADER})
    file(READ ${HEADER} old)
endif()
if(NOT old STREQUAL text)
    file(WRITE ${HEADER} "${text}")
endif()
