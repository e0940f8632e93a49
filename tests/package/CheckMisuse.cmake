# Each wrong call of the plugin functions stops the configuration, or the build where the manifest is wrong, and says what
# is wrong.
cmake_minimum_required(VERSION 3.16)
get_filename_component(here "${CMAKE_CURRENT_LIST_DIR}" ABSOLUTE)
set(failures 0)

# expect(FAULT TEXT [BUILD]): the project misuse/ with this fault is refused with TEXT; without a TEXT it is taken. BUILD: it is
# refused only when it is built.
function(expect fault text)
    execute_process(COMMAND ${CMAKE_COMMAND} -S "${here}/misuse" -B "${WORK}" -G "${GENERATOR}" ${CACHE} "-DFAULT=${fault}"
        RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if("BUILD" IN_LIST ARGN AND result EQUAL 0)
        execute_process(COMMAND ${CMAKE_COMMAND} --build "${WORK}" RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    endif()
    # CMake wraps its messages
    string(REGEX REPLACE "[ \n]+" " " flat "${output}")
    if((text AND result EQUAL 0) OR (NOT text AND NOT result EQUAL 0) OR NOT flat MATCHES "${text}")
        message("${fault}: expected \"${text}\", result ${result}\n${output}")
        math(EXPR failures "${failures} + 1")
        set(failures ${failures} PARENT_SCOPE)
    endif()
endfunction()

expect("none" "")
expect("no sources" "norvale_add_plugin: SOURCES is missing")
expect("four numbers" "VERSION \"1.2.3.4\" is not one to three numbers")
expect("a name with a slash" "\"a/b\" cannot be the name of a plugin")
expect("a misspelt argument" "unknown arguments: FEATURE.Core")
expect("manifest and arguments" "SERVICES stands in the MANIFEST")
if(LINTS)
    expect("a manifest of another plugin" "Manifest.xml:2:[0-9]+: error: .* Two-1.00.000, .* One-1.00.000 is built" BUILD)
    expect("a manifest of another plugin" "Manifest.xml:4:[0-9]+: error: the function is \"make\", and \"create\" is built" BUILD)
    expect("params that are no JSON" "Manifest.xml:6:[0-9]+: error: the text of params is no JSON document" BUILD)
endif()
expect("a translation of no locale" "german.ts must be named strings_<locale>.ts")
expect("a service of two plugins" "One and Two both declare the service \"A\"")
expect("a plugin twice in one suite" "One.: the suite .*/suite has this plugin already")
expect("a used plugin that nobody has built" "no such plugin comes with Norvale \\(but ZentraSettings\\); FOLDER takes any other")
expect("a used folder that is no plugin's" "has no Manifest.xml: the folder of a built plugin is meant")
expect("a used folder of another plugin" "One.: .* is of the plugin \"ZentraSettings\"")
expect("a plugin of nobody" "One is no plugin of the suite")
if(failures GREATER 0)
    message(FATAL_ERROR "${failures} faults are not told")
endif()
