# What cannot hold under Wine, and why: a test function, as ROOM.PROGRAM FUNCTION, then the reason. On Windows builds it is
# skipped with that reason (SKIP_WHERE_LISTED in tests/support/NotHere.h).
set(NORVALE_NOT_UNDER_WINE
    "config.tst_cDownloader survivesAResetAtAnyByte" "Wine does not always tell of a connection that is reset"
    "host.tst_VCoreWire servesOthersBesideAClientThatDoesNotRead" "under Wine a client that does not read is not seen to be cut off"
    "host.tst_VCoreRun endsAfterSignals" "there is no SIGTERM, and console events need a console, which Wine has none of without a display"
    "host.tst_VCoreUpdate isCancelled" "there is no SIGTERM, and console events need a console, which Wine has none of without a display"
    "host.tst_VCoreUpdate tellsThatSitesCannotBeStored" "the settings are the registry, which the user can always write"
    "host.tst_VCoreUpdate drawsABarOnATerminal" "there is no console without a display")

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
