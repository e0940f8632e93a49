# Read by cpack before it begins. Packages are dated by what they were made from: SOURCE_DATE_EPOCH where it is set, else the
# last commit, else the changelog, whose date an unpacked archive of the sources keeps.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
    set(date "")
    if(EXISTS "${CPACK_NORVALE_SOURCE}/.git")
        execute_process(COMMAND git -C "${CPACK_NORVALE_SOURCE}" log -1 --format=%ct
            OUTPUT_VARIABLE date OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    endif()
    if(NOT date MATCHES "^[0-9]+$")
        file(TIMESTAMP "${CPACK_NORVALE_SOURCE}/CHANGELOG.md" date "%s" UTC)
    endif()
    set(ENV{SOURCE_DATE_EPOCH} "${date}")
endif()
