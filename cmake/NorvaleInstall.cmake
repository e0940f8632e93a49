# What an installation holds: the exported headers, the library, the programs, and a CMake package that works from
# wherever the whole is moved to.
option(NORVALE_INSTALL "Install the library, the host and the CMake package" ${NORVALE_IS_TOP})
if(NOT NORVALE_INSTALL)
    return()
endif()

include(CMakePackageConfigHelpers)
set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/Norvale")
set(plugins_dir "${CMAKE_INSTALL_LIBDIR}/norvale/plugins")

install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/Norvale" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" FILES_MATCHING PATTERN "*.h")

set(programs VPlugin)
if(TARGET VCore)
    list(APPEND programs VCore)
    # found by its place beside the library, not by a path of the machine that built it
    file(RELATIVE_PATH to_library "/${CMAKE_INSTALL_BINDIR}" "/${CMAKE_INSTALL_LIBDIR}")
    set_target_properties(VCore PROPERTIES INSTALL_RPATH "$ORIGIN/${to_library}")
endif()
if(TARGET norvale_tool)
    list(APPEND programs norvale_tool)
    set_target_properties(norvale_tool PROPERTIES EXPORT_NAME tool)
endif()
install(TARGETS Norvale ${programs} EXPORT NorvaleExports
    RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}")
install(EXPORT NorvaleExports NAMESPACE Norvale:: DESTINATION "${package_dir}")

configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/NorvaleConfig.cmake.in"
    "${PROJECT_BINARY_DIR}/package/NorvaleConfig.cmake" INSTALL_DESTINATION "${package_dir}" PATH_VARS plugins_dir)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/package/NorvaleConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
install(FILES
    "${PROJECT_BINARY_DIR}/package/NorvaleConfig.cmake" "${PROJECT_BINARY_DIR}/package/NorvaleConfigVersion.cmake"
    "${PROJECT_SOURCE_DIR}/cmake/NorvalePlugin.cmake" "${PROJECT_SOURCE_DIR}/cmake/Manifest.xml.in"
    DESTINATION "${package_dir}")

# The plugins that suites take as they are, each in a folder as a suite has it.
foreach(plugin ZentraSettings)
    get_target_property(folder ${plugin} NORVALE_FOLDER)
    get_filename_component(name "${folder}" NAME)
    install(TARGETS ${plugin} LIBRARY DESTINATION "${plugins_dir}/${name}")
    install(FILES "${folder}/Manifest.xml" DESTINATION "${plugins_dir}/${name}")
endforeach()
