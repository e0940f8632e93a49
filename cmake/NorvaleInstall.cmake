# What an installation holds, in four components: `runtime`, the library; `dev`, headers, CMake package and pkg-config file;
# `tools`, the programs; `doc`, pages, schemas and examples. Programs and packages find each other from wherever the whole is
# moved to.
option(NORVALE_INSTALL "Install the library, the host and the CMake package" ${NORVALE_IS_TOP})
if(NOT NORVALE_INSTALL)
    return()
endif()

include(CMakePackageConfigHelpers)
set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/${NORVALE_LIBRARY_NAME}")
set(plugins_dir "${CMAKE_INSTALL_LIBDIR}/${NORVALE_PACKAGE_NAME}/plugins")

install(TARGETS Norvale EXPORT NorvaleExports
    RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT runtime
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime NAMELINK_COMPONENT dev
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT dev)
# No user calls it, and each interface of the library needs its own: so it goes with the library, where that looks for it.
if(WIN32)
    set(private_dir "${CMAKE_INSTALL_BINDIR}")
else()
    set(private_dir "${CMAKE_INSTALL_LIBDIR}/${NORVALE_PRIVATE_FOLDER}")
endif()
install(TARGETS VPlugin EXPORT NorvaleExports RUNTIME DESTINATION "${private_dir}" COMPONENT runtime)
install(EXPORT NorvaleExports NAMESPACE Norvale:: DESTINATION "${package_dir}" COMPONENT dev)

# The programs can be left out, so that they are exported apart.
set(programs)
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
if(programs)
    install(TARGETS ${programs} EXPORT NorvaleToolsExports RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tools)
    install(EXPORT NorvaleToolsExports NAMESPACE Norvale:: DESTINATION "${package_dir}" COMPONENT tools)
    if(NORVALE_PROGRAM_SUFFIX)
        file(RELATIVE_PATH to_programs "/bin" "/${CMAKE_INSTALL_BINDIR}")
        file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/package")
        foreach(program IN LISTS programs)
            get_target_property(name ${program} OUTPUT_NAME)
            set(link "${PROJECT_BINARY_DIR}/package/${name}${NORVALE_PROGRAM_SUFFIX}")
            file(CREATE_LINK "${to_programs}/${name}" "${link}" SYMBOLIC)
            install(FILES "${link}" DESTINATION bin COMPONENT tools)
        endforeach()
    endif()
endif()

install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/Norvale" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT dev FILES_MATCHING PATTERN "*.h")
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/NorvaleConfig.cmake.in"
    "${PROJECT_BINARY_DIR}/package/NorvaleConfig.cmake" INSTALL_DESTINATION "${package_dir}" PATH_VARS plugins_dir)
configure_file("${PROJECT_SOURCE_DIR}/cmake/NorvaleConfigVersion.cmake.in" "${PROJECT_BINARY_DIR}/package/NorvaleConfigVersion.cmake" @ONLY)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/package/NorvaleVersion.cmake" COMPATIBILITY SameMajorVersion)
install(FILES
    "${PROJECT_BINARY_DIR}/package/NorvaleConfig.cmake" "${PROJECT_BINARY_DIR}/package/NorvaleConfigVersion.cmake"
    "${PROJECT_BINARY_DIR}/package/NorvaleVersion.cmake" "${PROJECT_SOURCE_DIR}/cmake/NorvaleQtAsked.cmake"
    "${PROJECT_SOURCE_DIR}/cmake/NorvalePlugin.cmake" "${PROJECT_SOURCE_DIR}/cmake/Manifest.xml.in"
    "${PROJECT_SOURCE_DIR}/cmake/run.cmd.in"
    DESTINATION "${package_dir}" COMPONENT dev)
install(PROGRAMS "${PROJECT_SOURCE_DIR}/cmake/run.in" DESTINATION "${package_dir}" COMPONENT dev)

# The plugins that suites take as they are, each in a folder as a suite has it.
foreach(plugin ZentraSettings)
    get_target_property(folder ${plugin} NORVALE_FOLDER)
    get_filename_component(name "${folder}" NAME)
    install(TARGETS ${plugin} LIBRARY DESTINATION "${plugins_dir}/${name}" COMPONENT dev)
    install(FILES "${folder}/Manifest.xml" DESTINATION "${plugins_dir}/${name}" COMPONENT dev)
endforeach()

set(pkgconfig_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
file(RELATIVE_PATH prefix_from_pkgconfig "/${pkgconfig_dir}" "/")
set(pc_file "${PROJECT_BINARY_DIR}/package/${NORVALE_PACKAGE_NAME}.pc")
configure_file("${PROJECT_SOURCE_DIR}/cmake/norvale.pc.in" "${pc_file}" @ONLY)
install(FILES "${pc_file}" DESTINATION "${pkgconfig_dir}" COMPONENT dev)

# As they lie in the tree, so that their links to each other hold.
set(doc_dir "${CMAKE_INSTALL_DATADIR}/doc/norvale")
install(FILES "${PROJECT_SOURCE_DIR}/README.md" "${PROJECT_SOURCE_DIR}/CHANGELOG.md" DESTINATION "${doc_dir}" COMPONENT doc)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/docs" "${PROJECT_SOURCE_DIR}/examples" DESTINATION "${doc_dir}" COMPONENT doc
    PATTERN "*.dox" EXCLUDE PATTERN "*.css" EXCLUDE PATTERN "examples/CMakeLists.txt" EXCLUDE)
