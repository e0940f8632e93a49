# What is handed over. On Linux a Debian package of the library, its headers and programs:
#
#   cpack -G DEB --config BUILD/CPackConfig.cmake
#
# It needs dpkg-dev and file, which tell the packages that the programs depend on. On Windows a zip of the host, the
# library, what both need to run, and the example suite: NorvaleProduct.cmake.
if(NOT NORVALE_IS_TOP OR NOT NORVALE_INSTALL)
    return()
endif()

install(FILES "${PROJECT_SOURCE_DIR}/README.md" "${PROJECT_SOURCE_DIR}/CHANGELOG.md" DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/norvale")
install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/norvale" RENAME copyright)

set(CPACK_PACKAGE_NAME norvale)
set(CPACK_PACKAGE_VENDOR Norvale)
set(CPACK_PACKAGE_CONTACT "Norvale maintainers <maintainers@users.noreply.norvale.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_DESCRIPTION "Norvale finds a suite's installation, loads its plugins in dependency order, lets them publish services and
events, and keeps the suite up to date from update sites. The package holds the library, the headers and CMake package for plugin
authors, the reference host VCore, and norvale, the tool of those who run an update site.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)

if(WIN32)
    include(NorvaleProduct)
    return()
endif()
set(CPACK_GENERATOR DEB)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
# The exported headers include Qt's; what the programs need is found by dpkg-shlibdeps.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qtbase5-dev (>= 5.15)")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON) # and has the loader's cache renewed

include(CPack)
