# Makes the zip for Windows, unpacks it, says where it lies, and starts the host from another folder, with no libraries but
# those of the zip.
file(REMOVE_RECURSE "${WORK}")
file(MAKE_DIRECTORY "${WORK}/elsewhere")
get_filename_component(cmake_bin "${CMAKE_COMMAND}" DIRECTORY)
execute_process(COMMAND "${cmake_bin}/cpack" -G ZIP --config "${BUILD}/CPackConfig.cmake" -B "${WORK}" OUTPUT_VARIABLE output
    ERROR_VARIABLE output RESULT_VARIABLE result)
file(GLOB zip "${WORK}/Norvale-*-win64.zip")
if(NOT result EQUAL 0 OR NOT zip)
    message(FATAL_ERROR "no zip was made:\n${output}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -E tar xf "${zip}" WORKING_DIRECTORY "${WORK}")
get_filename_component(product "${zip}" NAME_WLE)
set(product "${WORK}/${product}")
foreach(library Qt5Core Qt5Qml libstdc++-6 libgcc_s_seh-1 libwinpthread-1 zlib1)
    if(NOT EXISTS "${product}/${library}.dll")
        message(FATAL_ERROR "the zip lacks ${library}.dll")
    endif()
endforeach()

unset(ENV{QT_WIN64})
function(run)
    execute_process(COMMAND "${RUN_UNDER_WINE}" ${ARGN} WORKING_DIRECTORY "${WORK}/elsewhere" OUTPUT_VARIABLE output
        ERROR_VARIABLE reason RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${ARGN} ends with ${result}:\n${output}${reason}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

run("C:\\windows\\system32\\cmd.exe" /c "Z:${product}/use-this-folder.cmd")
execute_process(COMMAND "${RUN_UNDER_WINE}" "${product}/VCore.exe" --list WORKING_DIRECTORY "${WORK}/elsewhere" OUTPUT_VARIABLE list
    ERROR_VARIABLE list)
# Whatever came of it, the machine is left as it was: the tests do not run beside an installed product.
run("C:\\windows\\system32\\reg.exe" delete "HKLM\\SOFTWARE\\Varkel" /f)
if(NOT list MATCHES "Greeter +1.00.000")
    message(FATAL_ERROR "the host does not list the suite:\n${list}")
endif()
run("${product}/norvale.exe" lint "Z:${product}/plugins")
