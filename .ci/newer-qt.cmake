# Included by the preset newer-qt6: sources are compiled, and nothing is linked, as the newer Qt's libraries need a newer
# system than that of the build.
find_package(Qt6 6.8 REQUIRED COMPONENTS Test Widgets)
message(STATUS "Compiling against Qt ${Qt6_VERSION}")

foreach(rule SHARED_LIBRARY SHARED_MODULE)
    set(CMAKE_CXX_CREATE_${rule} "<CMAKE_COMMAND> -E touch <TARGET>")
endforeach()
set(CMAKE_CXX_LINK_EXECUTABLE "<CMAKE_COMMAND> -E touch <TARGET>")

# The projects that `norvale new` writes, the tutorial's plugin among them.
set(templates "${CMAKE_SOURCE_DIR}/programs/norvale/new/templates")
file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${templates}/*.cpp" "${templates}/*.h")
add_library(new_projects OBJECT EXCLUDE_FROM_ALL ${sources})
target_include_directories(new_projects PRIVATE "${templates}/host")
target_compile_definitions(new_projects PRIVATE HOST="" SITE="" SUITE="")
target_compile_options(new_projects PRIVATE -Wall -Wextra -Werror)
set_target_properties(new_projects PROPERTIES AUTOMOC ON)
target_link_libraries(new_projects PRIVATE Norvale Qt6::Test Qt6::Widgets)
