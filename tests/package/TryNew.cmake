# Writes a project with the installed norvale, as WORDS say, and builds, tests and runs it: MADE is what the last of these prints.
cmake_policy(VERSION 3.16)
separate_arguments(words UNIX_COMMAND "${WORDS}")
file(REMOVE_RECURSE "${WORK}")
file(MAKE_DIRECTORY "${WORK}")
execute_process(COMMAND "${PREFIX}/bin/norvale" new ${words} "${WORK}/project" OUTPUT_VARIABLE written RESULT_VARIABLE result)
if(NOT result EQUAL 0 OR NOT written MATCHES "project/README.md\n.*Go on with:\n.*cmake --build build -t run\n$")
    message(FATAL_ERROR "norvale new ${WORDS} ends with ${result}:\n${written}")
endif()

set(build "${WORK}/project/build")
execute_process(COMMAND ${CMAKE_CTEST_COMMAND} --build-and-test "${WORK}/project" "${build}" --build-generator "${GENERATOR}"
    --build-options ${CACHE} --test-command ${CMAKE_CTEST_COMMAND} --output-on-failure OUTPUT_VARIABLE output
    ERROR_VARIABLE output RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "the project does not build and pass its tests:\n${output}")
endif()

separate_arguments(arguments UNIX_COMMAND "${RUN}")
execute_process(COMMAND "${build}/run" ${arguments} OUTPUT_VARIABLE output ERROR_VARIABLE reasons RESULT_VARIABLE result)
if(NOT result EQUAL 0 OR NOT output MATCHES "${MADE}")
    message(FATAL_ERROR "run ${RUN} ends with ${result}:\n${output}${reasons}")
endif()
