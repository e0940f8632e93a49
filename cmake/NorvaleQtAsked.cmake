# Sets `norvale_qt_asked` to the major version of the Qt that this project asks for: NORVALE_QT_MAJOR, else that of the Qt that
# it has found before; empty where nothing tells.
set(norvale_qt_asked "${NORVALE_QT_MAJOR}")
if(NOT norvale_qt_asked)
    set(norvale_qt_asked "${QT_VERSION_MAJOR}") # of find_package(QT NAMES ...)
endif()
if(NOT norvale_qt_asked)
    if(TARGET Qt5::Core AND NOT TARGET Qt6::Core)
        set(norvale_qt_asked 5)
    elseif(TARGET Qt6::Core AND NOT TARGET Qt5::Core)
        set(norvale_qt_asked 6)
    endif()
endif()
