# Manual pages, and completion for bash, zsh and fish. The programs describe their own command lines, so that neither can
# know an option that they lack; they must be able to run on the machine that builds them.
if(NOT NORVALE_INSTALL OR CMAKE_CROSSCOMPILING OR WIN32 OR NOT TARGET VCore)
    return()
endif()

set(pages "${PROJECT_BINARY_DIR}/pages")
find_program(NORVALE_GZIP gzip)
mark_as_advanced(NORVALE_GZIP)

# install_pages(TARGET): those of a program that knows --describe.
function(install_pages target)
    get_target_property(name ${target} OUTPUT_NAME)
    string(APPEND name "${NORVALE_PROGRAM_SUFFIX}")
    add_custom_command(OUTPUT "${pages}/man/${name}.1" "${pages}/bash/${name}" "${pages}/zsh/_${name}" "${pages}/fish/${name}.fish"
        COMMAND ${target} --describe "${pages}" ${name} DEPENDS ${target} VERBATIM)
    set(manual "${pages}/man/${name}.1")
    if(NORVALE_GZIP) # as systems keep them
        add_custom_command(OUTPUT "${manual}.gz" DEPENDS "${manual}" VERBATIM COMMAND ${NORVALE_GZIP} -9nkf "${manual}")
        string(APPEND manual .gz)
    endif()
    add_custom_target(${name}_manual ALL DEPENDS "${manual}")
    install(FILES "${manual}" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT tools)
    install(FILES "${pages}/bash/${name}" DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" COMPONENT tools)
    install(FILES "${pages}/zsh/_${name}" DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions" COMPONENT tools)
    install(FILES "${pages}/fish/${name}.fish" DESTINATION "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d" COMPONENT tools)
endfunction()

install_pages(VCore)
if(TARGET norvale_tool)
    install_pages(norvale_tool)
endif()
