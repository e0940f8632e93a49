# Holds every manifest, catalogue and site description of the examples and of the laid-out suite against the schemas of docs/schema.
cmake_minimum_required(VERSION 3.16)
file(GLOB_RECURSE manifests "${SOURCE}/examples/*/Manifest.xml" "${BINARY}/suite*/plugins/*/Manifest.xml"
    "${SOURCE}/docs/examples/Manifest.xml")
file(GLOB_RECURSE catalogues "${BINARY}/suite*/plugins/features.xml" "${SOURCE}/docs/examples/features.xml")
file(GLOB repositories "${SOURCE}/docs/examples/repository.xml" "${SOURCE}/docs/examples/site/*/repository.xml")
file(GLOB sites "${SOURCE}/docs/examples/site/site.xml")

function(check schema least)
    list(LENGTH ARGN count)
    if(count LESS least)
        message(FATAL_ERROR "${count} documents for ${schema}, expected at least ${least}")
    endif()
    execute_process(COMMAND "${XMLLINT}" --noout --nonet --schema "${SOURCE}/docs/schema/${schema}" ${ARGN}
        RESULT_VARIABLE result ERROR_VARIABLE text)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${text}")
    endif()
    message(STATUS "${count} documents agree with ${schema}")
endfunction()

check(Manifest.xsd 1 ${manifests})
check(features.xsd 1 ${catalogues})
check(repository.xsd 2 ${repositories})
check(site.xsd 1 ${sites})
