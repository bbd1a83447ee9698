# How every target of the project is compiled.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES AND PROJECT_IS_TOP_LEVEL)
    set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Build type" FORCE)
endif()

add_library(rtiqnutil_warnings INTERFACE)
if(RTIQNUTIL_DEVELOPER)
    target_compile_options(rtiqnutil_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Werror)
endif()

# Fortified calls need an optimised build, and sanitizers have checks of their own.
if(RTIQNUTIL_HARDENED AND NOT RTIQNUTIL_SANITIZE)
    add_compile_options(-fstack-protector-strong -fstack-clash-protection
                        "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE>"
                        "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-D_FORTIFY_SOURCE=2>")
    add_link_options(LINKER:-z,relro,-z,now)
    include(CheckPIESupported)
    check_pie_supported()
    set(CMAKE_POSITION_INDEPENDENT_CODE ON)
endif()

if(RTIQNUTIL_SANITIZE)
    add_compile_options(-fsanitize=${RTIQNUTIL_SANITIZE} -fno-omit-frame-pointer
                        -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${RTIQNUTIL_SANITIZE})
endif()

find_package(Boost 1.81 REQUIRED)  # headers only
find_package(Threads REQUIRED)
