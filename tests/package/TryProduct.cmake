# Makes the zips for Windows, unpacks them, says where the product lies, and runs the suite from another folder, with no
# libraries but those of the zip.
cmake_minimum_required(VERSION 3.18)
file(REMOVE_RECURSE "${WORK}")
file(MAKE_DIRECTORY "${WORK}/elsewhere")
get_filename_component(cmake_bin "${CMAKE_COMMAND}" DIRECTORY)
execute_process(COMMAND "${cmake_bin}/cpack" -G ZIP --config "${BUILD}/CPackConfig.cmake" -B "${WORK}" OUTPUT_VARIABLE output
    ERROR_VARIABLE output RESULT_VARIABLE result)
file(GLOB zip "${WORK}/Norvale-*-win64.zip")
file(GLOB dev_zip "${WORK}/Norvale-*-win64-dev.zip")
if(NOT result EQUAL 0 OR NOT zip OR NOT dev_zip)
    message(FATAL_ERROR "no zip was made:\n${output}")
endif()
file(ARCHIVE_EXTRACT INPUT "${zip}" DESTINATION "${WORK}")
file(ARCHIVE_EXTRACT INPUT "${dev_zip}" DESTINATION "${WORK}/dev") # a test builds against it
get_filename_component(product "${zip}" NAME_WLE)
set(product "${WORK}/${product}")
foreach(library Qt5Core Qt5Qml libstdc++-6 libgcc_s_seh-1 libwinpthread-1 zlib1 libgcrypt-20 libgpg-error-0)
    if(NOT EXISTS "${product}/${library}.dll")
        message(FATAL_ERROR "the zip lacks ${library}.dll")
    endif()
endforeach()

function(run)
    execute_process(COMMAND "${RUN_UNDER_WINE}" --alone ${ARGN} WORKING_DIRECTORY "${WORK}/elsewhere" OUTPUT_VARIABLE output
        ERROR_VARIABLE reason RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${ARGN} ends with ${result}:\n${output}${reason}")
    endif()
endfunction()

run("C:\\windows\\system32\\cmd.exe" /c "Z:${product}/use-this-folder.cmd")
# The host, and beside it whoever ends it, once it serves. Wine tells which libraries the host loads.
set(host "${RUN_UNDER_WINE}" --alone "${product}/VCore.exe")
execute_process(COMMAND ${CMAKE_COMMAND} -E env WINEDEBUG=-all,trace+loaddll ${host} --categories base,ui
    COMMAND ${host} --wait --timeout 60 --call VCore quit
    WORKING_DIRECTORY "${WORK}/elsewhere" RESULTS_VARIABLE results OUTPUT_VARIABLE output ERROR_VARIABLE told)
execute_process(COMMAND ${host} --list WORKING_DIRECTORY "${WORK}/elsewhere" OUTPUT_VARIABLE list ERROR_VARIABLE list)
# Whatever came of it, the machine is left as it was: the tests do not run beside an installed product.
foreach(root HKLM HKCU)
    execute_process(COMMAND "${RUN_UNDER_WINE}" "C:\\windows\\system32\\reg.exe" delete "${root}\\Software\\Varkel" /f
        OUTPUT_QUIET ERROR_QUIET)
endforeach()

string(REPLACE "\\\\" "/" told "${told}")
string(REGEX MATCHALL "Loaded L\"[^\"]*\"" loaded "${told}")
string(REGEX REPLACE "[0-9a-f]+:trace:loaddll:[^\n]*\n" "" reason "${told}")
if(NOT results STREQUAL "0;0")
    message(FATAL_ERROR "the host and its client end with ${results}:\n${output}${reason}")
endif()
list(TRANSFORM loaded REPLACE "^Loaded L\"(.*)\"$" "\\1")
list(FILTER loaded EXCLUDE REGEX "^C:/windows/")
if(NOT "Z:${product}/plugins/Greeter-1.00.000/Greeter.dll" IN_LIST loaded)
    message(FATAL_ERROR "the host was not seen to load the suite:\n${loaded}")
endif()
foreach(library IN LISTS loaded)
    string(FIND "${library}" "Z:${product}/" place)
    if(NOT place EQUAL 0)
        message(FATAL_ERROR "the host loads ${library}, which is not of the zip")
    endif()
endforeach()
if(NOT list MATCHES "Greeter +1.00.000")
    message(FATAL_ERROR "the host does not list the suite:\n${list}")
endif()
run("${product}/norvale.exe" lint "Z:${product}/plugins")
