# 64-bit Windows from Linux: MinGW-w64 with POSIX threads; what is built runs under Wine. Used by the preset "windows".
# QT_WIN64, a cache or environment variable, names a tree of Qt 5 for MinGW. WIN64_ROOTS: further trees to search, such
# as an installed Norvale.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(WIN64_TRIPLE x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${WIN64_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${WIN64_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${WIN64_TRIPLE}-windres)

if(NOT QT_WIN64 AND DEFINED ENV{QT_WIN64})
    set(QT_WIN64 "$ENV{QT_WIN64}")
endif()
if(NOT EXISTS "${QT_WIN64}/lib/cmake/Qt5/Qt5Config.cmake")
    message(FATAL_ERROR "Qt for Win64 not found: give -DQT_WIN64=<tree> or set QT_WIN64 (now: '${QT_WIN64}')")
endif()
get_filename_component(QT_WIN64 "${QT_WIN64}" REALPATH)
set(QT_WIN64 "${QT_WIN64}" CACHE PATH "Qt 5 for 64-bit Windows" FORCE)
# the checks that CMake compiles read this file again and must see the same trees
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QT_WIN64 WIN64_ROOTS)

set(CMAKE_FIND_ROOT_PATH /usr/${WIN64_TRIPLE} "${QT_WIN64}" ${WIN64_ROOTS})
list(APPEND CMAKE_PREFIX_PATH "${QT_WIN64}" ${WIN64_ROOTS})
list(REMOVE_DUPLICATES CMAKE_PREFIX_PATH)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# add_test(), try_run() and custom commands that name a built program run it through this
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/run-under-wine;--qt;${QT_WIN64}")
