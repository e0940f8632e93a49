# What every target of this project shares, and the functions that the folders use to add theirs.

# norvale_target_defaults(TARGET): language level, warnings, hidden symbols, sanitizers.
function(norvale_target_defaults target)
    target_compile_features(${target} PUBLIC cxx_std_17)
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON POSITION_INDEPENDENT_CODE ON AUTOMOC ON)
    target_compile_definitions(${target} PRIVATE QT_DEPRECATED_WARNINGS QT_NO_FOREACH)
    if(QT_VERSION VERSION_GREATER_EQUAL 6.5)
        # what replaces a function that a later Qt deprecates may not be there in the oldest
        target_compile_definitions(${target} PRIVATE QT_WARN_DEPRECATED_UP_TO=0x060400)
    endif()
    target_compile_options(${target} PRIVATE -Wall -Wextra $<$<BOOL:${NORVALE_WERROR}>:-Werror>)
    if(CMAKE_UNITY_BUILD AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # Findings that no source has alone: GCC 12 takes a shared pointer for one without a value where much is inlined, and a
        # source for a header, whose classes must not have members of types of its own.
        target_compile_options(${target} PRIVATE -Wno-maybe-uninitialized -Wno-subobject-linkage)
    endif()
    if(NORVALE_BUILD_FUZZ)
        # Without coverage of the library's own code a fuzzer cannot tell one input from another.
        target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
    endif()
    if(NORVALE_SANITIZE)
        target_compile_options(${target} PRIVATE -fsanitize=${NORVALE_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
        target_link_options(${target} PUBLIC -fsanitize=${NORVALE_SANITIZE})
        target_compile_definitions(${target} PRIVATE QT_FORCE_ASSERTS)
    endif()
endfunction()

# norvale_room(NAME USES ROOM... SOURCES FILE... HEADERS FILE...): a room of src/. USES names the lower rooms that it may
# include (a test holds the includes against it); HEADERS are its exported headers, relative to include/Norvale.
function(norvale_room name)
    cmake_parse_arguments(room "" "" "USES;SOURCES;HEADERS" ${ARGN})
    list(TRANSFORM room_HEADERS PREPEND "${PROJECT_SOURCE_DIR}/include/Norvale/")
    list(TRANSFORM room_SOURCES PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/")
    target_sources(norvale_objects PRIVATE ${room_SOURCES} ${room_HEADERS})
    set_property(GLOBAL APPEND PROPERTY NORVALE_ROOMS ${name})
    set_property(GLOBAL PROPERTY NORVALE_ROOM_${name}_USES "${room_USES}")
endfunction()

# norvale_add_test(ROOM NAME [SOURCES FILE...] [LIBRARIES TARGET...] [DEPENDS TARGET...] [SHARED] [TIMEOUT SECONDS]
# [LABELS LABEL...]): a Qt Test program
# tests/ROOM/NAME. It links the library's objects (NorvaleInternal), or with SHARED the library as a host sees it. What
# carries the label "threads" is built by the target `threaded_tests` too, for the thread sanitizer.
function(norvale_add_test room name)
    cmake_parse_arguments(arg "SHARED" "TIMEOUT" "SOURCES;LIBRARIES;DEPENDS;LABELS" ${ARGN})
    if(NOT arg_SOURCES)
        set(arg_SOURCES ${name}.cpp)
    endif()
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 120)
    endif()
    add_executable(${name} ${arg_SOURCES})
    norvale_target_defaults(${name})
    if(arg_SHARED)
        target_link_libraries(${name} PRIVATE Norvale)
    else()
        target_link_libraries(${name} PRIVATE NorvaleInternal)
    endif()
    target_link_libraries(${name} PRIVATE NorvaleTestSupport Qt::Test ${arg_LIBRARIES})
    target_precompile_headers(${name} REUSE_FROM NorvaleTestHeaders)
    if(arg_DEPENDS)
        add_dependencies(${name} ${arg_DEPENDS})
    endif()
    if("threads" IN_LIST arg_LABELS)
        add_dependencies(threaded_tests ${name})
    endif()
    add_test(NAME ${room}.${name} COMMAND ${name})
    set_tests_properties(${room}.${name} PROPERTIES TIMEOUT ${arg_TIMEOUT} LABELS "${room};${arg_LABELS}"
        ENVIRONMENT "QT_QPA_PLATFORM=offscreen;LC_ALL=C.UTF-8;QTEST_FUNCTION_TIMEOUT=${arg_TIMEOUT}000") # one limit
    if(CMAKE_CROSSCOMPILING)
        norvale_not_under_wine(${room} ${name})
    endif()
    if(NOT room MATCHES "^(version|json|zip|icons)$")
        norvale_lock_settings(${room}.${name})
    endif()
endfunction()

# norvale_lock_settings(TEST): on Windows settings stand in the registry, of which there is one (see
# tests/support/SettingsSandbox_win.cpp), so that tests that have settings do not run at a time. Under Wine there are two
# registries, in which the tests take turns.
function(norvale_lock_settings test)
    if(NOT WIN32)
        return()
    endif()
    set(registry "")
    if(CMAKE_CROSSCOMPILING)
        get_property(last GLOBAL PROPERTY NORVALE_LAST_REGISTRY)
        set(registry 1)
        if(last EQUAL 1)
            set(registry 2)
        endif()
        set_property(GLOBAL PROPERTY NORVALE_LAST_REGISTRY ${registry})
        set_property(TEST ${test} APPEND PROPERTY ENVIRONMENT "RUN_UNDER_WINE_PREFIX=${PROJECT_BINARY_DIR}/wine${registry}")
    endif()
    set_tests_properties(${test} PROPERTIES RESOURCE_LOCK settings${registry})
endfunction()
