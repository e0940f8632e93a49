# Installs the build into a folder and moves that away: what is found afterwards does not hang on where it was installed.
file(REMOVE_RECURSE "${PREFIX}" "${PREFIX}.first")
execute_process(COMMAND ${CMAKE_COMMAND} --install "${BUILD}" --config "${CONFIG}" --prefix "${PREFIX}.first" OUTPUT_QUIET
    RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "the installation failed")
endif()
file(RENAME "${PREFIX}.first" "${PREFIX}")

file(GLOB_RECURSE scripts "${PREFIX}/*.cmake")
foreach(script IN LISTS scripts)
    file(STRINGS "${script}" lines REGEX "${BUILD}|${PREFIX}")
    if(lines)
        message(FATAL_ERROR "${script} names a folder of the machine that built it:\n${lines}")
    endif()
endforeach()
