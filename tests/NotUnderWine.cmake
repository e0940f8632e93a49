# What cannot hold under Wine, and why: a test function as ROOM.PROGRAM FUNCTION, or its rows whose names begin so as ROOM.PROGRAM
# FUNCTION:NAME, or a program as ROOM.PROGRAM; then the reason. On Windows builds it is skipped with that reason
# (SKIP_WHERE_LISTED in tests/support/NotHere.h).
set(NORVALE_NOT_UNDER_WINE
    "install.tst_cInstallMgr removesLinksNotWhatTheyLeadTo" "Wine 8 makes no links: CreateSymbolicLinkW answers true and does nothing"
    "norvale.tst_Pack refuses:a link" "Wine 8 shows a link of the machine as what it leads to, and one that leads nowhere not at all"
    "suite.tst_Mistakes areTold:unresolved-symbol" "the linker of Windows does not let a symbol be missing"
    "config.tst_SecureDownloads" "the Qt that is built for Windows here has no SSL")

# norvale_not_under_wine(ROOM NAME): hands the entries of a test program to it, "FUNCTION=reason|...".
function(norvale_not_under_wine room name)
    set(entries "")
    set(rest "${NORVALE_NOT_UNDER_WINE}")
    while(rest)
        list(GET rest 0 test)
        list(GET rest 1 reason)
        list(REMOVE_AT rest 0 1)
        if(test MATCHES "^${room}\\.${name} (.*)$")
            string(APPEND entries "${CMAKE_MATCH_1}=${reason}|")
        endif()
    endwhile()
    set_property(TEST ${room}.${name} APPEND PROPERTY ENVIRONMENT "NORVALE_NOT_HERE=${entries}")
endfunction()

# norvale_skip_test(ROOM NAME): in place of a program that is listed and cannot even be built, a test that is skipped with
# the reason.
function(norvale_skip_test room name)
    list(FIND NORVALE_NOT_UNDER_WINE "${room}.${name}" place)
    if(place EQUAL -1)
        message(WARNING "${room}.${name} is left out, and tests/NotUnderWine.cmake does not say why")
        return()
    endif()
    math(EXPR place "${place} + 1")
    list(GET NORVALE_NOT_UNDER_WINE ${place} reason)
    add_test(NAME ${room}.${name} COMMAND "${CMAKE_COMMAND}" -E echo "SKIP: ${reason}")
    set_tests_properties(${room}.${name} PROPERTIES SKIP_REGULAR_EXPRESSION "^SKIP: " LABELS ${room})
endfunction()
