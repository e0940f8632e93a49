# An overlay port, which builds the tree that it lies in:
#
#   vcpkg install norvale --overlay-ports=packaging/vcpkg/ports
get_filename_component(SOURCE_PATH "${CMAKE_CURRENT_LIST_DIR}/../../../.." ABSOLUTE)
vcpkg_check_linkage(ONLY_DYNAMIC_LIBRARY)

set(options -DNORVALE_BUILD_TOOLS=ON)
if(NOT "tools" IN_LIST FEATURES)
    # the programs are there where their parser is
    set(options -DNORVALE_BUILD_TOOLS=OFF -DCLI11_INCLUDE_DIR=)
endif()
vcpkg_cmake_configure(
    SOURCE_PATH "${SOURCE_PATH}"
    OPTIONS ${options} -DNORVALE_QT_MAJOR=5 -DNORVALE_BUILD_TESTS=OFF -DNORVALE_BUILD_EXAMPLES=OFF)
vcpkg_cmake_install()
vcpkg_copy_pdbs()
vcpkg_cmake_config_fixup(PACKAGE_NAME Norvale CONFIG_PATH lib/cmake/Norvale)
vcpkg_fixup_pkgconfig()

if("tools" IN_LIST FEATURES)
    vcpkg_copy_tools(TOOL_NAMES VCore norvale AUTO_CLEAN)
endif()
if(VCPKG_TARGET_IS_WINDOWS)
    # The library runs plugins in this program, and finds it beside itself.
    vcpkg_copy_tools(TOOL_NAMES VPlugin)
    set(VCPKG_POLICY_ALLOW_EXES_IN_BIN enabled)
endif()

file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/debug/include" "${CURRENT_PACKAGES_DIR}/debug/share" "${CURRENT_PACKAGES_DIR}/share/doc")
vcpkg_install_copyright(FILE_LIST "${SOURCE_PATH}/LICENSE")
