# Each wrong call of the plugin functions stops the configuration and says what is wrong.
get_filename_component(here "${CMAKE_CURRENT_LIST_DIR}" ABSOLUTE)
set(failures 0)

# expect(FAULT TEXT): the project misuse/ with this fault is refused with TEXT; without a TEXT it is taken.
function(expect fault text)
    execute_process(COMMAND ${CMAKE_COMMAND} -S "${here}/misuse" -B "${WORK}" -G "${GENERATOR}" ${CACHE} "-DFAULT=${fault}"
        RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
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
expect("a manifest of another plugin" "Manifest.xml:3: name is \"Two\" where \"One\" is built")
expect("a translation of no locale" "german.ts must be named strings_<locale>.ts")
expect("a service of two plugins" "One and Two both declare the service \"A\"")
expect("a plugin twice in one suite" "One.: the suite .*/suite has this plugin already")
expect("a plugin of nobody" "One is no plugin of the suite")
if(failures GREATER 0)
    message(FATAL_ERROR "${failures} faults are not told")
endif()
