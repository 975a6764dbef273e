# find_package(OrvoScreenCapture [COMPONENTS ScreenCapture Runtime]): the targets Orvo::ScreenCapture, the C interface,
# and Orvo::Runtime, the C++ base runtime and log of the same library.
foreach(component IN LISTS OrvoScreenCapture_FIND_COMPONENTS)
    if(component STREQUAL "ScreenCapture" OR component STREQUAL "Runtime")
        set(OrvoScreenCapture_${component}_FOUND TRUE)
    elseif(OrvoScreenCapture_FIND_REQUIRED_${component})
        set(OrvoScreenCapture_FOUND FALSE)
        set(OrvoScreenCapture_NOT_FOUND_MESSAGE "there is no component \"${component}\"; there are ScreenCapture and Runtime")
        return()
    endif()
endforeach()
include("${CMAKE_CURRENT_LIST_DIR}/OrvoScreenCaptureTargets.cmake")
