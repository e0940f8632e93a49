# Manual pages, and completion for bash, zsh and fish. The programs describe their own command lines, so that neither can
# know an option that they lack; they must be able to run on the machine that builds them.
if(NOT NORVALE_INSTALL OR CMAKE_CROSSCOMPILING OR WIN32 OR NOT TARGET VCore)
    return()
endif()

set(pages "${PROJECT_BINARY_DIR}/pages")
find_program(NORVALE_GZIP gzip)
mark_as_advanced(NORVALE_GZIP)

# install_manual_page(NAME FILE): compressed, as systems keep them, where gzip is there.
function(install_manual_page name file)
    if(NORVALE_GZIP)
        set(page "${pages}/${name}.1.gz")
        add_custom_command(OUTPUT "${page}" DEPENDS "${file}" VERBATIM
            COMMAND ${CMAKE_COMMAND} -E make_directory "${pages}"
            COMMAND ${CMAKE_COMMAND} -E copy "${file}" "${pages}/${name}.1"
            COMMAND ${NORVALE_GZIP} -9nf "${pages}/${name}.1")
    else()
        set(page "${file}")
    endif()
    add_custom_target(${name}_manual ALL DEPENDS "${page}")
    install(FILES "${page}" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT tools)
endfunction()

# install_pages(TARGET): those of a program that knows --describe.
function(install_pages target)
    get_target_property(name ${target} OUTPUT_NAME)
    if(NOT name)
        set(name ${target})
    endif()
    add_custom_command(OUTPUT "${pages}/man/${name}.1" "${pages}/bash/${name}" "${pages}/zsh/_${name}" "${pages}/fish/${name}.fish"
        COMMAND ${target} --describe "${pages}" DEPENDS ${target} VERBATIM)
    install_manual_page(${name} "${pages}/man/${name}.1")
    install(FILES "${pages}/bash/${name}" DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" COMPONENT tools)
    install(FILES "${pages}/zsh/_${name}" DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions" COMPONENT tools)
    install(FILES "${pages}/fish/${name}.fish" DESTINATION "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d" COMPONENT tools)
endfunction()

install_pages(VCore)
if(TARGET norvale_tool)
    install_pages(norvale_tool)
endif()
install_manual_page(VPlugin "${PROJECT_SOURCE_DIR}/programs/VPlugin/VPlugin.1")
