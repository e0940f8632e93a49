# What is handed over for Windows: a zip of the product, whose programs run from wherever it is unpacked, and a zip for authors
# of hosts and plugins, with headers, import library and the CMake package. Both have one folder of the same name, so that
# they can be unpacked into one another. The product's parts are installed as a component of their own.
set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_FILE_NAME "Norvale-${PROJECT_VERSION}-win64")
set(CPACK_ARCHIVE_PRODUCT_FILE_NAME "${CPACK_PACKAGE_FILE_NAME}")
set(CPACK_ARCHIVE_DEV_FILE_NAME "${CPACK_PACKAGE_FILE_NAME}-dev")
set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL product runtime dev)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_COMPONENT_PRODUCT_GROUP product)
set(CPACK_COMPONENT_RUNTIME_GROUP dev) # what the CMake package names
set(CPACK_COMPONENT_DEV_GROUP dev)
set(CPACK_COMPONENT_INCLUDE_TOPLEVEL_DIRECTORY ON)
set(CPACK_PACKAGING_INSTALL_PREFIX "")
set(CPACK_NORVALE_NEEDS_product ${CPACK_NORVALE_NEEDS_tools})
set(CPACK_NORVALE_NEEDS_dev ${CPACK_NORVALE_NEEDS_runtime})

set(files_with_libraries)
foreach(target Norvale VCore VPlugin norvale_tool)
    if(TARGET ${target})
        install(TARGETS ${target} RUNTIME DESTINATION . COMPONENT product EXCLUDE_FROM_ALL)
        list(APPEND files_with_libraries "$<TARGET_FILE:${target}>")
    endif()
endforeach()
install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" "${PROJECT_SOURCE_DIR}/cmake/windows/use-this-folder.cmd" DESTINATION .
    COMPONENT product EXCLUDE_FROM_ALL)
if(NORVALE_BUILD_EXAMPLES)
    install(DIRECTORY "${PROJECT_BINARY_DIR}/suite/" DESTINATION . COMPONENT product EXCLUDE_FROM_ALL)
endif()

# The libraries that the programs load, and those that these load: of Qt, the compiler, zlib and libgcrypt. What is the system's own
# is not found in these folders and stays out.
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libstdc++-6.dll OUTPUT_VARIABLE compiler_library
    OUTPUT_STRIP_TRAILING_WHITESPACE)
get_filename_component(compiler_folder "${compiler_library}" DIRECTORY)
install(CODE "
set(OBJDUMP \"${CMAKE_OBJDUMP}\")
set(PROGRAMS \"${files_with_libraries}\")
set(FOLDERS \"$<TARGET_FILE_DIR:Qt${QT_VERSION_MAJOR}::Core>;${compiler_folder};/usr/x86_64-w64-mingw32/lib;/usr/x86_64-w64-mingw32/bin\")
set(TO \"\${CMAKE_INSTALL_PREFIX}\")
include(\"${PROJECT_SOURCE_DIR}/cmake/windows/CopyLibraries.cmake\")
" COMPONENT product EXCLUDE_FROM_ALL)

include(CPack)
