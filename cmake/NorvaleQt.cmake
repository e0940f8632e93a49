# Which Qt the library is built with, and what tells its files apart from those for the other one, so that both can be
# installed side by side.
set(NORVALE_QT_MAJOR "${NORVALE_QT_MAJOR}" CACHE STRING "Qt's major version, 5 or 6; empty: 5 where both are there")
set_property(CACHE NORVALE_QT_MAJOR PROPERTY STRINGS "" 5 6)

include(NorvaleQtAsked)
if(NOT norvale_qt_asked)
    find_package(QT QUIET NAMES Qt5 COMPONENTS Core) # one search for both would take either
    if(NOT QT_FOUND)
        find_package(QT NAMES Qt6 REQUIRED COMPONENTS Core)
    endif()
elseif(norvale_qt_asked MATCHES "^[56]$")
    find_package(QT NAMES Qt${norvale_qt_asked} REQUIRED COMPONENTS Core)
else()
    message(FATAL_ERROR "NORVALE_QT_MAJOR is 5 or 6, not \"${norvale_qt_asked}\"")
endif()
set(qt Qt${QT_VERSION_MAJOR})
find_package(${qt} REQUIRED COMPONENTS Core Gui Xml Network Concurrent)
if(QT_VERSION VERSION_LESS 5.15 OR (QT_VERSION_MAJOR EQUAL 6 AND QT_VERSION VERSION_LESS 6.4))
    message(FATAL_ERROR "Norvale needs Qt 5.15, or Qt 6.4 or newer; ${QT_VERSION} is here")
endif()
# The conditions of install command lines are scripts: Qt Script evaluates them, or Qt Qml where it is not there.
find_package(${qt} QUIET OPTIONAL_COMPONENTS Script Qml)
if(NOT TARGET Qt5::Script AND NOT TARGET ${qt}::Qml)
    message(FATAL_ERROR "Norvale needs Qt Qml, or Qt Script of Qt 5")
endif()

set(NORVALE_QT_MINIMUM "${QT_VERSION_MAJOR}.${QT_VERSION_MINOR}") # what is built with it needs it, or a newer one

set(file_suffix "")
set(folder_suffix "")
if(NOT QT_VERSION_MAJOR EQUAL 5)
    set(file_suffix "Qt${QT_VERSION_MAJOR}")
    set(folder_suffix "-qt${QT_VERSION_MAJOR}")
endif()
# The programs are named alike for both. Where those for Qt 6 get a folder of their own (CMAKE_INSTALL_BINDIR), they are found
# in bin, too, as VCore-qt6 and norvale-qt6.
set(NORVALE_PROGRAM_SUFFIX "")
if(NOT CMAKE_INSTALL_BINDIR STREQUAL "bin")
    set(NORVALE_PROGRAM_SUFFIX "${folder_suffix}")
endif()
set(NORVALE_LIBRARY_NAME "Norvale${file_suffix}")
set(NORVALE_PACKAGE_NAME "norvale${folder_suffix}")
# Where an installation keeps what belongs to this version of the library's interface, beside the library.
set(NORVALE_PRIVATE_FOLDER "norvale${PROJECT_VERSION_MAJOR}${folder_suffix}")
