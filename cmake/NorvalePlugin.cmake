# What a plugin author's CMakeLists.txt calls: norvale_add_plugin makes a plugin folder, norvale_use_plugin takes in one that
# is built already, norvale_add_feature names the plugins that a suite has. Together they lay out a folder that a host can
# take as its installation folder:
#
#   <root>/plugins/features.xml
#   <root>/plugins/Greeter-1.00.000/Manifest.xml
#   <root>/plugins/Greeter-1.00.000/Greeter.so            (Greeter.dll on Windows)
#   <root>/plugins/Greeter-1.00.000/ts/strings_de_DE.qm
#
# The root is DESTINATION, else the variable NORVALE_SUITE_DIR, else "suite" in the build folder.
cmake_policy(VERSION 3.16)

# What the functions fill in; kept where it is found from every folder of a project.
set(NORVALE_MANIFEST_TEMPLATE "${CMAKE_CURRENT_LIST_DIR}/Manifest.xml.in" CACHE INTERNAL "")
set(NORVALE_RUNNER_TEMPLATE "${CMAKE_CURRENT_LIST_DIR}/run" CACHE INTERNAL "")
set(NORVALE_NATIVE_TOOL "" CACHE FILEPATH "The program norvale for this machine, which lints manifests, where it is not that of the package")

# _norvale_suite_root(OUT [ROOT]): the absolute root of the suite that is laid out.
function(_norvale_suite_root out)
    set(root "${ARGN}")
    if(NOT root)
        set(root "${NORVALE_SUITE_DIR}")
    endif()
    if(NOT root)
        set(root "${CMAKE_BINARY_DIR}/suite")
    endif()
    get_filename_component(root "${root}" ABSOLUTE BASE_DIR "${CMAKE_CURRENT_BINARY_DIR}")
    set(${out} "${root}" PARENT_SCOPE)
endfunction()

# _norvale_canonical_version(OUT TEXT): TEXT in the form that names plugin folders, 1.2.3 as 1.02.003; empty when TEXT is
# no version of one to three numbers.
function(_norvale_canonical_version out text)
    set(${out} "" PARENT_SCOPE)
    if(NOT text MATCHES "^([0-9]+)(\\.([0-9]+))?(\\.([0-9]+))?$")
        return()
    endif()
    set(parts "${CMAKE_MATCH_1}" "0${CMAKE_MATCH_3}" "0${CMAKE_MATCH_5}")
    list(TRANSFORM parts REPLACE "^0*([0-9]+)$" "\\1")
    list(GET parts 0 major)
    list(GET parts 1 minor)
    list(GET parts 2 build)
    if(minor LESS 10)
        set(minor "0${minor}")
    endif()
    if(build LESS 10)
        set(build "00${build}")
    elseif(build LESS 100)
        set(build "0${build}")
    endif()
    set(${out} "${major}.${minor}.${build}" PARENT_SCOPE)
endfunction()

# _norvale_xml_escape(OUT TEXT): TEXT as element text or attribute value.
function(_norvale_xml_escape out text)
    string(REPLACE "&" "&amp;" text "${text}")
    string(REPLACE "<" "&lt;" text "${text}")
    string(REPLACE ">" "&gt;" text "${text}")
    string(REPLACE "\"" "&quot;" text "${text}")
    set(${out} "${text}" PARENT_SCOPE)
endfunction()

# _norvale_elements(OUT LIST TAG TEXT...): <LIST> with one <TAG> for each text; nothing without a text.
function(_norvale_elements out list tag)
    set(xml "")
    if(ARGN)
        foreach(text IN LISTS ARGN)
            _norvale_xml_escape(text "${text}")
            string(APPEND xml "      <${tag}>${text}</${tag}>\n")
        endforeach()
        set(xml "    <${list}>\n${xml}    </${list}>\n")
    endif()
    set(${out} "${xml}" PARENT_SCOPE)
endfunction()

# _norvale_lint(OUT ARGUMENT...): what add_custom_command needs to run `norvale lint` with these arguments, and again when
# that program changes. Empty where there is no program that runs on this machine, which is said once.
function(_norvale_lint out)
    set(tool "${NORVALE_NATIVE_TOOL}")
    if(NOT tool AND NOT CMAKE_CROSSCOMPILING)
        foreach(target norvale_tool Norvale::tool)
            if(TARGET ${target})
                set(tool "$<TARGET_FILE:${target}>")
            endif()
        endforeach()
    endif()
    if(tool)
        set(${out} COMMAND "${tool}" lint ${ARGN} DEPENDS "${tool}" PARENT_SCOPE)
        return()
    endif()
    set(${out} "" PARENT_SCOPE)
    get_property(is_told GLOBAL PROPERTY NORVALE_IS_LINT_LEFT_OUT)
    if(NOT is_told)
        message(STATUS "Manifests are not linted: there is no norvale for this machine; NORVALE_NATIVE_TOOL can name one")
        set_property(GLOBAL PROPERTY NORVALE_IS_LINT_LEFT_OUT TRUE)
    endif()
endfunction()

# norvale_add_plugin(NAME name VERSION version SOURCES file...
#     [MANIFEST file | [AUTOLOAD] [ISOLATED] [CATEGORY category] [API_VERSION n] [PARAMS json]
#                      [DEPENDENCIES plugin...] [SERVICES service...]]
#     [FUNCTION entry] [TRANSLATIONS strings_<locale>.ts...] [FILES file...] [LIBRARIES target...] [DESTINATION root])
#
# Builds the library `name` and puts it into the folder <root>/plugins/<name>-<version> together with its manifest, its
# compiled translations (ts/) and the FILES. Its target, which can be given further properties, is named `name`; one of
# that name in a further suite of the build, such as the next release, is named <name of the root>_<name>.
#
# The build lints the manifest: an error, such as one that would keep the suite from starting, ends it with file and line.
#
#   MANIFEST      a manifest of your own, for the NAME, VERSION and FUNCTION given here. Without it one is written from
#                 the arguments of the second line.
#   AUTOLOAD      the plugin is loaded at every start; CATEGORY: when the host asks for this load category. With neither,
#                 it is loaded when somebody needs it or a service of it.
#   ISOLATED      the plugin runs in a process of its own; docs/isolated-plugins.md tells what it may not do.
#   API_VERSION   the number of the plugin's own interface.
#   PARAMS        a JSON document that the plugin gets from its context.
#   DEPENDENCIES  names of plugins that are started before this one.
#   SERVICES      the services that the plugin registers; asking for one of them loads the plugin.
#   FUNCTION      the exported function that returns the plugin object; createPlugin unless given.
#   TRANSLATIONS  Qt Linguist sources; the one of the machine's locale is installed when the plugin starts.
function(norvale_add_plugin)
    cmake_parse_arguments(arg "AUTOLOAD;ISOLATED" "NAME;VERSION;MANIFEST;CATEGORY;API_VERSION;PARAMS;FUNCTION;DESTINATION"
        "SOURCES;DEPENDENCIES;SERVICES;TRANSLATIONS;FILES;LIBRARIES" ${ARGN})
    _norvale_check_plugin_arguments()
    _norvale_suite_root(root ${arg_DESTINATION})
    set(folder "${root}/plugins/${arg_NAME}-${version}")
    _norvale_plugin_target(norvale_add_plugin)
    set_property(GLOBAL APPEND PROPERTY NORVALE_PLUGINS ${target})

    add_library(${target} MODULE ${arg_SOURCES})
    target_link_libraries(${target} PRIVATE Norvale::Norvale ${arg_LIBRARIES})
    target_compile_features(${target} PRIVATE cxx_std_17)
    # the empty generator expression keeps multi-configuration generators from adding a folder
    set_target_properties(${target} PROPERTIES
        PREFIX "" DEBUG_POSTFIX "" OUTPUT_NAME "${arg_NAME}" LIBRARY_OUTPUT_DIRECTORY "${folder}$<1:>"
        AUTOMOC ON CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON
        NORVALE_FOLDER "${folder}" NORVALE_VERSION "${version}" NORVALE_SERVICES "${arg_SERVICES}")
    _norvale_plugin_manifest()
    _norvale_plugin_translations()
    foreach(file IN LISTS arg_FILES)
        get_filename_component(name "${file}" NAME)
        _norvale_plugin_file("${file}" "${name}")
    endforeach()
endfunction()

# The steps of norvale_add_plugin, in its scope.

macro(_norvale_check_plugin_arguments)
    foreach(key NAME VERSION SOURCES)
        if(NOT arg_${key})
            message(FATAL_ERROR "norvale_add_plugin: ${key} is missing")
        endif()
    endforeach()
    if(arg_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "norvale_add_plugin(${arg_NAME}): unknown arguments: ${arg_UNPARSED_ARGUMENTS}")
    endif()
    if(NOT arg_NAME MATCHES "^[A-Za-z0-9_.+-]+$")
        message(FATAL_ERROR "norvale_add_plugin: \"${arg_NAME}\" cannot be the name of a plugin: it names a folder and a target")
    endif()
    _norvale_canonical_version(version "${arg_VERSION}")
    if(NOT version)
        message(FATAL_ERROR "norvale_add_plugin(${arg_NAME}): VERSION \"${arg_VERSION}\" is not one to three numbers")
    endif()
    if(NOT arg_FUNCTION)
        set(arg_FUNCTION createPlugin)
    endif()
    foreach(key AUTOLOAD ISOLATED CATEGORY API_VERSION PARAMS DEPENDENCIES SERVICES)
        if(arg_MANIFEST AND arg_${key})
            message(FATAL_ERROR "norvale_add_plugin(${arg_NAME}): ${key} stands in the MANIFEST, do not give both")
        endif()
    endforeach()
endmacro()

# Each suite of a build has its own plugin of a name; the features find them by root and name.
macro(_norvale_plugin_target caller)
    set(target ${arg_NAME})
    if(TARGET ${target})
        get_filename_component(root_name "${root}" NAME)
        set(target "${root_name}_${arg_NAME}")
    endif()
    get_property(other GLOBAL PROPERTY "NORVALE_PLUGIN ${root} ${arg_NAME}")
    if(other)
        message(FATAL_ERROR "${caller}(${arg_NAME}): the suite ${root} has this plugin already")
    endif()
    set_property(GLOBAL PROPERTY "NORVALE_PLUGIN ${root} ${arg_NAME}" ${target})
endmacro()

# Writes the manifest or takes the given one, and lints it before it comes into the plugin's folder.
macro(_norvale_plugin_manifest)
    if(arg_MANIFEST)
        set(manifest "${arg_MANIFEST}")
    else()
        set(manifest "${CMAKE_CURRENT_BINARY_DIR}/${target}.manifest/Manifest.xml")
        _norvale_write_manifest("${manifest}")
    endif()
    get_filename_component(manifest "${manifest}" ABSOLUTE)
    _norvale_lint(lint --quiet --plugin "${arg_NAME}-${version}" --function "${arg_FUNCTION}" "${manifest}")
    _norvale_plugin_file("${manifest}" Manifest.xml ${lint})
endmacro()

macro(_norvale_write_manifest file)
    get_target_property(runtime_api Norvale::Norvale NORVALE_RUNTIME_API_VERSION)
    set(attributes "")
    if(arg_AUTOLOAD)
        string(APPEND attributes " autoload=\"true\"")
    endif()
    if(arg_ISOLATED)
        string(APPEND attributes " isolated=\"true\"")
    endif()
    if(arg_CATEGORY)
        _norvale_xml_escape(category "${arg_CATEGORY}")
        string(APPEND attributes " load_category=\"${category}\"")
    endif()
    if(arg_API_VERSION)
        string(APPEND attributes " api_version=\"${arg_API_VERSION}\"")
    endif()
    set(params "")
    if(arg_PARAMS)
        _norvale_xml_escape(params "${arg_PARAMS}")
        set(params "      <params>${params}</params>\n")
    endif()
    _norvale_elements(dependencies dependencies dependency ${arg_DEPENDENCIES})
    _norvale_elements(services services service ${arg_SERVICES})
    configure_file("${NORVALE_MANIFEST_TEMPLATE}" "${file}" @ONLY)
endmacro()

# Copies a file into the plugin's folder when the plugin is built and whenever the file has changed. What else is given
# belongs to the same build step, and comes before.
macro(_norvale_plugin_file from to)
    get_filename_component(source "${from}" ABSOLUTE)
    add_custom_command(OUTPUT "${folder}/${to}" ${ARGN}
        COMMAND ${CMAKE_COMMAND} -E copy "${source}" "${folder}/${to}"
        DEPENDS "${source}" COMMENT "${arg_NAME}: ${to}" VERBATIM)
    target_sources(${target} PRIVATE "${folder}/${to}")
endmacro()

# Finds lrelease of the library's Qt: beside the meta-object compiler, or beside the folder of that.
macro(_norvale_find_lrelease)
    get_target_property(qt_major Norvale::Norvale NORVALE_QT_MAJOR)
    set(qt_bin "")
    if(TARGET Qt${qt_major}::moc)
        get_target_property(qt_bin Qt${qt_major}::moc LOCATION)
        get_filename_component(qt_bin "${qt_bin}" DIRECTORY)
    endif()
    find_program(NORVALE_LRELEASE NAMES lrelease-qt${qt_major} lrelease HINTS "${qt_bin}" "${qt_bin}/../bin")
    if(NOT NORVALE_LRELEASE)
        set(debian_5 qttools5-dev-tools)
        set(debian_6 qt6-l10n-tools)
        message(FATAL_ERROR "norvale_add_plugin(${arg_NAME}): TRANSLATIONS need lrelease of Qt ${qt_major} (Debian: ${debian_${qt_major}})")
    endif()
endmacro()

macro(_norvale_plugin_translations)
    if(arg_TRANSLATIONS)
        _norvale_find_lrelease()
    endif()
    foreach(file IN LISTS arg_TRANSLATIONS)
        get_filename_component(name "${file}" NAME)
        if(NOT name MATCHES "^(strings_[A-Za-z_]+)\\.ts$")
            message(FATAL_ERROR "norvale_add_plugin(${arg_NAME}): ${name} must be named strings_<locale>.ts, as strings_de_DE.ts")
        endif()
        set(compiled "${folder}/ts/${CMAKE_MATCH_1}.qm")
        get_filename_component(source "${file}" ABSOLUTE)
        add_custom_command(OUTPUT "${compiled}"
            COMMAND ${CMAKE_COMMAND} -E make_directory "${folder}/ts"
            COMMAND "${NORVALE_LRELEASE}" -silent "${source}" -qm "${compiled}"
            DEPENDS "${source}" COMMENT "${arg_NAME}: translation ${CMAKE_MATCH_1}" VERBATIM)
        target_sources(${target} PRIVATE "${compiled}")
    endforeach()
endmacro()

# norvale_use_plugin(name [FOLDER folder] [DESTINATION root])
#
# Copies a plugin that is built already into the suite, for norvale_add_feature to name: one that this build makes for another
# suite, or else one that comes with Norvale, such as ZentraSettings, the settings. FOLDER names any other, by its folder, in
# which the manifest lies.
function(norvale_use_plugin name)
    cmake_parse_arguments(arg "" "FOLDER;DESTINATION" "" ${ARGN})
    set(arg_NAME "${name}")
    if(arg_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "norvale_use_plugin(${name}): unknown arguments: ${arg_UNPARSED_ARGUMENTS}")
    endif()
    _norvale_find_plugin()
    _norvale_suite_root(root ${arg_DESTINATION})
    set(folder "${root}/plugins/${name}-${version}")
    _norvale_plugin_target(norvale_use_plugin)
    add_custom_command(OUTPUT "${folder}/Manifest.xml"
        COMMAND ${CMAKE_COMMAND} -E copy_directory "${from}" "${folder}"
        DEPENDS ${files} COMMENT "${name}: as it is built" VERBATIM)
    add_custom_target(${target} ALL DEPENDS "${folder}/Manifest.xml")
    set_target_properties(${target} PROPERTIES
        NORVALE_FOLDER "${folder}" NORVALE_VERSION "${version}" NORVALE_SERVICES "${services}")
endfunction()

# The steps of norvale_use_plugin, in its scope.

# Where the plugin is copied from, and what the copy depends on: `from`, `files`, `version`, `services`.
macro(_norvale_find_plugin)
    set(from "")
    set(files "")
    if(NOT arg_FOLDER AND TARGET ${name})
        get_target_property(from ${name} NORVALE_FOLDER)
        get_target_property(version ${name} NORVALE_VERSION)
        get_target_property(services ${name} NORVALE_SERVICES)
        get_target_property(type ${name} TYPE)
        set(files ${name} "${from}/Manifest.xml")
        if(type STREQUAL MODULE_LIBRARY)
            list(APPEND files "$<TARGET_FILE:${name}>")
        endif()
    endif()
    if(NOT from)
        _norvale_find_built_plugin()
        file(GLOB_RECURSE files CONFIGURE_DEPENDS "${from}/*")
        _norvale_read_manifest("${from}/Manifest.xml")
    endif()
endmacro()

macro(_norvale_find_built_plugin)
    if(arg_FOLDER)
        get_filename_component(from "${arg_FOLDER}" ABSOLUTE)
    else()
        file(GLOB folders LIST_DIRECTORIES TRUE "${NORVALE_PLUGINS_DIR}/*-*")
        set(there "")
        foreach(each IN LISTS folders)
            get_filename_component(id "${each}" NAME)
            string(REGEX REPLACE "-[^-]*$" "" id "${id}")
            list(APPEND there "${id}")
            if(id STREQUAL name)
                set(from "${each}")
            endif()
        endforeach()
        if(NOT from)
            message(FATAL_ERROR "norvale_use_plugin(${name}): no such plugin comes with Norvale (but ${there}); FOLDER takes any other")
        endif()
    endif()
    if(NOT EXISTS "${from}/Manifest.xml")
        message(FATAL_ERROR "norvale_use_plugin(${name}): ${from} has no Manifest.xml: the folder of a built plugin is meant")
    endif()
endmacro()

# The `version` and `services` of a manifest, which is for the plugin `name`.
macro(_norvale_read_manifest file)
    file(READ "${file}" xml)
    string(REGEX MATCH "<plugin[ \t\r\n][^>]*>" plugin "${xml}")
    string(REGEX MATCH "[ \t\r\n]name[ ]*=[ ]*[\"']([^\"']*)[\"']" found "${plugin}")
    if(NOT CMAKE_MATCH_1 STREQUAL name)
        message(FATAL_ERROR "norvale_use_plugin(${name}): ${file} is of the plugin \"${CMAKE_MATCH_1}\"")
    endif()
    string(REGEX MATCH "[ \t\r\n]version[ ]*=[ ]*[\"']([^\"']*)[\"']" found "${plugin}")
    _norvale_canonical_version(version "${CMAKE_MATCH_1}")
    if(NOT version)
        message(FATAL_ERROR "norvale_use_plugin(${name}): ${file} has the version \"${CMAKE_MATCH_1}\", not one to three numbers")
    endif()
    string(REGEX MATCHALL "<service>[^<]*</service>" services "${xml}")
    list(TRANSFORM services REPLACE "</?service>" "")
endmacro()

# norvale_add_feature(NAME name VERSION version PLUGINS plugin...
#     [DEPENDENCIES feature...] [DISPLAYNAMES language text...] [DESTINATION root])
#
# Enters a feature with these plugins (of norvale_add_plugin or norvale_use_plugin before) into <root>/plugins/features.xml.
# A host starts only a suite that has a feature named "Core". The target `suite` builds everything that the features name.
#
# The calls may come in any order. DEPENDENCIES are features of the same suite: features that depend on each other in a
# circle end the configuration, and so does a dependency that no call adds (with CMake 3.19 and newer). Those that another
# project adds to the same repository are left out here, and named when the feature is published.
function(norvale_add_feature)
    cmake_parse_arguments(arg "" "NAME;VERSION;DESTINATION" "PLUGINS;DEPENDENCIES;DISPLAYNAMES" ${ARGN})
    _norvale_suite_root(root ${arg_DESTINATION})
    _norvale_canonical_version(version "${arg_VERSION}")
    if(NOT arg_NAME OR NOT version OR arg_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "norvale_add_feature(NAME ${arg_NAME} VERSION ${arg_VERSION}): NAME and a VERSION of one to three "
            "numbers are needed; unknown: \"${arg_UNPARSED_ARGUMENTS}\"")
    endif()
    _norvale_xml_escape(name "${arg_NAME}")
    set(xml "  <feature name=\"${name}\" version=\"${version}\" active=\"true\">\n")
    while(arg_DISPLAYNAMES)
        list(GET arg_DISPLAYNAMES 0 language)
        list(GET arg_DISPLAYNAMES 1 text)
        list(REMOVE_AT arg_DISPLAYNAMES 0 1)
        _norvale_xml_escape(text "${text}")
        string(APPEND xml "    <displayname lang=\"${language}\">${text}</displayname>\n")
    endwhile()
    set_property(GLOBAL APPEND PROPERTY "NORVALE_FEATURES ${root}" "${arg_NAME}")
    set_property(GLOBAL APPEND PROPERTY "NORVALE_FEATURE ${root} ${arg_NAME}" ${arg_DEPENDENCIES})
    _norvale_check_circle("${root}" "${arg_NAME}")
    if(arg_DEPENDENCIES)
        list(TRANSFORM arg_DEPENDENCIES REPLACE "(.+)" "      <feature name=\"\\1\"/>\n")
        string(CONCAT dependencies ${arg_DEPENDENCIES})
        string(APPEND xml "    <dependencies>\n${dependencies}    </dependencies>\n")
    endif()
    string(APPEND xml "    <plugins>\n")
    set(plugin_targets "")
    foreach(plugin IN LISTS arg_PLUGINS)
        _norvale_enter_plugin()
    endforeach()
    _norvale_enter_feature("${root}" "${xml}    </plugins>\n  </feature>\n")
    if(plugin_targets)
        add_dependencies(${suite} ${plugin_targets})
    endif()
endfunction()

# _norvale_check_circle(ROOT NAME): refuses a feature that depends on itself by way of others. The last call of those in a
# circle closes it.
function(_norvale_check_circle root name)
    set(waiting "${name}")
    set(seen "")
    while(waiting)
        list(POP_FRONT waiting feature)
        get_property(dependencies GLOBAL PROPERTY "NORVALE_FEATURE ${root} ${feature}")
        if(name IN_LIST dependencies)
            set(circle "${name}")
            while(NOT feature STREQUAL name)
                string(PREPEND circle "${feature} -> ")
                set(feature "${before_${feature}}")
            endwhile()
            message(FATAL_ERROR "norvale_add_feature(${name}): features depend on each other in a circle: ${name} -> ${circle}")
        endif()
        foreach(next IN LISTS dependencies)
            if(NOT next IN_LIST seen)
                set("before_${next}" "${feature}")
                list(APPEND seen "${next}")
                list(APPEND waiting "${next}")
            endif()
        endforeach()
    endwhile()
endfunction()

# _norvale_check_features(ROOT): refuses a suite with a feature that depends on one that it has not. Called when all are
# known.
function(_norvale_check_features root)
    get_property(features GLOBAL PROPERTY "NORVALE_FEATURES ${root}")
    foreach(feature IN LISTS features)
        get_property(dependencies GLOBAL PROPERTY "NORVALE_FEATURE ${root} ${feature}")
        foreach(name IN LISTS dependencies)
            if(NOT name IN_LIST features)
                list(JOIN features ", " known)
                message(FATAL_ERROR "norvale_add_feature(${feature}): it depends on the feature \"${name}\", which no call "
                    "adds to the suite ${root}; there are ${known}")
            endif()
        endforeach()
    endforeach()
endfunction()

# One plugin of a feature. Two that name one service would keep the whole suite from starting.
macro(_norvale_enter_plugin)
    get_property(plugin_target GLOBAL PROPERTY "NORVALE_PLUGIN ${root} ${plugin}")
    if(NOT plugin_target)
        message(FATAL_ERROR "norvale_add_feature(${arg_NAME}): ${plugin} is no plugin of the suite ${root}")
    endif()
    list(APPEND plugin_targets ${plugin_target})
    get_target_property(plugin_version ${plugin_target} NORVALE_VERSION)
    get_target_property(plugin_services ${plugin_target} NORVALE_SERVICES)
    foreach(service IN LISTS plugin_services)
        get_property(owner GLOBAL PROPERTY "NORVALE_SERVICE ${root} ${service}")
        if(owner AND NOT owner STREQUAL plugin)
            message(FATAL_ERROR "norvale_add_feature(${arg_NAME}): ${owner} and ${plugin} both declare the service \"${service}\"")
        endif()
        set_property(GLOBAL PROPERTY "NORVALE_SERVICE ${root} ${service}" ${plugin})
    endforeach()
    string(APPEND xml "      <plugin name=\"${plugin}\" version=\"${plugin_version}\"/>\n")
endmacro()

# Adds a feature to the catalogue of the root, which is written once, when all features are known. The first suite of a
# build has the target `suite`, a further one `suite_<name of its root>`.
function(_norvale_enter_feature root xml)
    get_property(suite GLOBAL PROPERTY "NORVALE_SUITE ${root}")
    if(NOT suite)
        set(suite suite)
        if(TARGET suite)
            get_filename_component(name "${root}" NAME)
            set(suite "suite_${name}")
        endif()
        set(catalogue "${CMAKE_CURRENT_BINARY_DIR}/${suite}.features.xml")
        file(GENERATE OUTPUT "${catalogue}" CONTENT "<?xml version=\"1.0\" encoding=\"UTF-8\"?>
<repository>
$<TARGET_PROPERTY:${suite},NORVALE_FEATURES></repository>
")
        add_custom_command(OUTPUT "${root}/plugins/features.xml"
            COMMAND ${CMAKE_COMMAND} -E copy "${catalogue}" "${root}/plugins/features.xml"
            DEPENDS "${catalogue}" COMMENT "features.xml of ${root}" VERBATIM)
        add_custom_target(${suite} ALL DEPENDS "${root}/plugins/features.xml")
        set_property(GLOBAL PROPERTY "NORVALE_SUITE ${root}" ${suite})
        if(NOT CMAKE_VERSION VERSION_LESS 3.19)
            cmake_language(EVAL CODE
                "cmake_language(DEFER DIRECTORY [==[${CMAKE_SOURCE_DIR}]==] CALL _norvale_check_features [==[${root}]==])")
        endif()
    endif()
    get_target_property(features ${suite} NORVALE_FEATURES)
    if(NOT features)
        set(features "")
    endif()
    set_target_properties(${suite} PROPERTIES NORVALE_FEATURES "${features}${xml}")
    set(suite ${suite} PARENT_SCOPE)
endfunction()

# norvale_add_runner(name [PROGRAM target] [DESTINATION root])
#
# Makes the script `name` in the build folder (on Windows name.cmd), which runs VCore, or the host PROGRAM, on the suite with
# settings and data of its own, and passes arguments on; and the target `name`, which builds the suite and runs the script.
# Windows has one set of settings for a machine: there the suite is taken as long as `VCore --install-dir` has set no other.
function(norvale_add_runner name)
    cmake_parse_arguments(arg "" "PROGRAM;DESTINATION" "" ${ARGN})
    _norvale_suite_root(root ${arg_DESTINATION})
    get_property(suite GLOBAL PROPERTY "NORVALE_SUITE ${root}")
    if(NOT suite OR arg_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "norvale_add_runner(${name}): a suite is needed, which norvale_add_feature makes, before; "
            "unknown: \"${arg_UNPARSED_ARGUMENTS}\"")
    endif()
    set(vcore Norvale::VCore)
    if(TARGET VCore)
        set(vcore VCore) # built along
    elseif(NOT TARGET Norvale::VCore)
        message(STATUS "There is no target ${name}: Norvale has been installed without VCore")
        return()
    endif()
    set(program ${vcore})
    if(arg_PROGRAM)
        set(program ${arg_PROGRAM})
    endif()
    set(extension "")
    if(WIN32)
        set(extension .cmd)
    endif()
    set(own "${CMAKE_BINARY_DIR}/${name}.own")
    set(made "${CMAKE_BINARY_DIR}/CMakeFiles/norvale_${name}${extension}.in")
    configure_file("${NORVALE_RUNNER_TEMPLATE}${extension}.in" "${made}" @ONLY)
    file(GENERATE OUTPUT "${CMAKE_BINARY_DIR}/${name}${extension}" INPUT "${made}")
    add_custom_target(${name} COMMAND "${CMAKE_BINARY_DIR}/${name}${extension}" USES_TERMINAL VERBATIM)
    add_dependencies(${name} ${suite} ${program} ${vcore})
endfunction()

# norvale_copy_library(target): on Windows, where programs have no search path for libraries, lays the library beside the
# program `target`, and VPlugin for plugins in processes of their own. Elsewhere there is nothing to be done.
function(norvale_copy_library target)
    if(WIN32)
        add_custom_command(TARGET ${target} POST_BUILD
            COMMAND ${CMAKE_COMMAND} -E copy_if_different $<TARGET_FILE:Norvale::Norvale> $<TARGET_FILE:Norvale::VPlugin>
                $<TARGET_FILE_DIR:${target}> VERBATIM)
    endif()
endfunction()
