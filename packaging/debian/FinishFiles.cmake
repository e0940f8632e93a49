# Run by cpack once for the packages' files, before they become packages: what Debian wants of every package, and does not
# belong to an installation elsewhere. The licence becomes its copyright file, the changelog its changelog.

file(READ "${CPACK_NORVALE_SOURCE}/LICENSE" licence)
string(REGEX MATCH "Copyright \\(c\\) ([^\n]*)" ignored "${licence}")
set(holder "${CMAKE_MATCH_1}")
string(REGEX REPLACE "^.*Copyright[^\n]*\n+" "" licence "${licence}")
string(STRIP "${licence}" licence)
string(REGEX REPLACE "\n\n" "\n.\n" licence "${licence}")
string(REGEX REPLACE "\n" "\n " licence " ${licence}")

# The changes of the sources stand in their own changelog, which goes into the package beside this one.
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC) # of SOURCE_DATE_EPOCH
set(version "${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")
set(changelog "norvale (${version}) unstable; urgency=medium

  * Norvale ${CPACK_PACKAGE_VERSION}; its own changelog tells what has changed.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")

# pack(FILE): in its place FILE.gz, with no date in it.
function(pack file)
    execute_process(COMMAND gzip -9nf "${file}" RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "gzip cannot pack ${file}")
    endif()
endfunction()

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} upper)
    set(usr "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component}/usr")
    set(doc "${usr}/share/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME}")
    configure_file("${CMAKE_CURRENT_LIST_DIR}/copyright.in" "${doc}/copyright" @ONLY)
    file(WRITE "${doc}/changelog.Debian" "${changelog}")
    configure_file("${CPACK_NORVALE_SOURCE}/CHANGELOG.md" "${doc}/changelog" COPYONLY)
    pack("${doc}/changelog.Debian")
    pack("${doc}/changelog")
endforeach()
