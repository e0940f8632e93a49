# What is handed over, each package with a list of what is in it (packaging/sbom). On Linux Debian packages, one for each
# component of the installation:
#
#   cmake --preset package && cmake --build --preset package
#
# makes them in build/package/packages; the preset chooses Debian's folders, and leaves out search paths of libraries. It
# needs dpkg-dev and file, which tell the packages that the programs depend on. The preset package-qt6 makes those for Qt 6,
# which can be installed beside them; the documentation is the same and stays with the others. On Windows zips of the product
# and of what authors build against: NorvaleProduct.cmake.
if(NOT NORVALE_IS_TOP OR NOT NORVALE_INSTALL)
    return()
endif()

set(CPACK_PACKAGE_NAME norvale)
set(CPACK_PACKAGE_VENDOR Norvale)
set(CPACK_PACKAGE_CONTACT "Norvale maintainers <maintainers@users.noreply.norvale.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PROJECT_CONFIG_FILE "${PROJECT_SOURCE_DIR}/packaging/SourceDate.cmake")
set(CPACK_POST_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/packaging/sbom/WriteSbom.cmake")
set(CPACK_NORVALE_SOURCE "${PROJECT_SOURCE_DIR}")
include("${PROJECT_SOURCE_DIR}/packaging/sbom/Dependencies.cmake")

if(WIN32)
    include(NorvaleProduct)
    return()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL runtime dev tools)
if(QT_VERSION_MAJOR EQUAL 5)
    list(APPEND CPACK_COMPONENTS_ALL doc)
endif()
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 0norvale1) # a package of Debian's own, which begins with 1, is newer
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}/src")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/packaging/debian/FinishFiles.cmake")

# as Debian names a library: after the version in its file name
string(TOLOWER "lib${NORVALE_LIBRARY_NAME}" library_package)
string(REGEX REPLACE "([0-9])$" "\\1-" library_package "${library_package}")
string(APPEND library_package "${PROJECT_VERSION_MAJOR}")
set(qt_package_5 qtbase5-dev)
set(qt_package_6 qt6-base-dev)
set(this_version "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(about "Norvale finds the installation of a suite that is made of plugins, loads
them in the order of their dependencies, lets them publish services and
events, and keeps the suite up to date from update sites.\n.\n")

set(for_qt "")
set(program_names "")
if(NOT QT_VERSION_MAJOR EQUAL 5)
    set(for_qt " (Qt ${QT_VERSION_MAJOR})")
    set(program_names "\n.\nThey are called as VCore${NORVALE_PROGRAM_SUFFIX} and norvale${NORVALE_PROGRAM_SUFFIX}.")
endif()

# norvale_debian_package(COMPONENT NAME SECTION SUMMARY TEXT)
macro(norvale_debian_package component name section summary text)
    string(TOUPPER ${component} upper)
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
    set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
    set(CPACK_DEBIAN_${upper}_DESCRIPTION "framework of plugin-based desktop suites${for_qt}${summary}\n${about}${text}")
endmacro()
# CPack puts its summary before each description, unless that is its own default.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${CMAKE_PROJECT_NAME} built using CMake")

norvale_debian_package(runtime ${library_package} libs ""
    "This package holds the library, and the program in which it runs plugins
that are kept in a process of their own.")
# CPack would have scripts call ldconfig, which is a trigger's work today. It leaves out its own script where one of the same
# name is given; these do not exist, and nothing takes its place.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/packaging/debian/triggers" /none/postinst /none/postrm)

norvale_debian_package(dev ${NORVALE_PACKAGE_NAME}-dev libdevel " - development files"
    "This package holds the headers, the CMake package with the functions for
authors of plugins, and the pkg-config file.")
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "${library_package} ${this_version}, ${qt_package_${QT_VERSION_MAJOR}} (>= ${NORVALE_QT_MINIMUM})")
set(CPACK_DEBIAN_DEV_PACKAGE_RECOMMENDS "${NORVALE_PACKAGE_NAME}-tools ${this_version}")
set(CPACK_DEBIAN_DEV_PACKAGE_SUGGESTS norvale-doc)

norvale_debian_package(tools ${NORVALE_PACKAGE_NAME}-tools devel " - programs"
    "This package holds VCore, the host that runs a suite from the command line
and keeps it up to date, and norvale, which packs plugins, publishes them on
update sites, and checks both.${program_names}")
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${library_package} ${this_version}")
set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS norvale-doc)

norvale_debian_package(doc norvale-doc doc " - documentation"
    "This package holds the guides, the schemas of the file formats, and the
example suite.")
set(CPACK_DEBIAN_DOC_PACKAGE_ARCHITECTURE all)

include(CPack)
