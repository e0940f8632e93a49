# Run by cpack when its packages are made: writes beside each, as PACKAGE.spdx.json, what it is made of: its files with their
# checksums, and the libraries that it needs. The form is SPDX 2.3. The same package gives the same list.

# json(OUT TEXT): TEXT as a JSON string.
function(json out text)
    string(REPLACE "\\" "\\\\" text "${text}")
    string(REPLACE "\"" "\\\"" text "${text}")
    set(${out} "\"${text}\"" PARENT_SCOPE)
endfunction()

# unpack(PACKAGE FOLDER): the files of a zip or a Debian package, whose files lie in an archive inside it.
function(unpack package folder)
    file(REMOVE_RECURSE "${folder}")
    file(ARCHIVE_EXTRACT INPUT "${package}" DESTINATION "${folder}")
    file(GLOB inner "${folder}/data.tar*")
    if(inner)
        file(ARCHIVE_EXTRACT INPUT "${inner}" DESTINATION "${folder}/data")
        set(folder "${folder}/data")
    endif()
    set(unpacked "${folder}" PARENT_SCOPE)
endfunction()

# list_files(FOLDER): sets `files` and `contains`, the elements of the arrays, and `code`, the checksum of all checksums.
function(list_files folder)
    file(GLOB_RECURSE paths LIST_DIRECTORIES false RELATIVE "${folder}" "${folder}/*")
    list(SORT paths)
    set(number 0)
    set(sums)
    set(files "")
    set(contains "")
    foreach(path IN LISTS paths)
        if(IS_SYMLINK "${folder}/${path}")
            continue()
        endif()
        math(EXPR number "${number} + 1")
        file(SHA1 "${folder}/${path}" sha1)
        file(SHA256 "${folder}/${path}" sha256)
        json(name "./${path}")
        string(APPEND files ",
    { \"SPDXID\": \"SPDXRef-File-${number}\", \"fileName\": ${name}, \"copyrightText\": \"NOASSERTION\",
      \"licenseConcluded\": \"NOASSERTION\", \"licenseInfoInFiles\": [ \"NOASSERTION\" ],
      \"checksums\": [ { \"algorithm\": \"SHA1\", \"checksumValue\": \"${sha1}\" },
                     { \"algorithm\": \"SHA256\", \"checksumValue\": \"${sha256}\" } ] }")
        string(APPEND contains ",
    { \"spdxElementId\": \"SPDXRef-Package\", \"relationshipType\": \"CONTAINS\", \"relatedSpdxElement\": \"SPDXRef-File-${number}\" }")
        list(APPEND sums ${sha1})
    endforeach()
    list(SORT sums)
    string(CONCAT sums ${sums})
    string(SHA1 code "${sums}")
    string(REGEX REPLACE "^,\n" "" files "${files}")
    foreach(variable files contains code)
        set(${variable} "${${variable}}" PARENT_SCOPE)
    endforeach()
endfunction()

# list_needs(NEED...): sets `needed` and `needs`, the elements of the arrays of packages and relationships.
function(list_needs)
    set(needed "")
    set(needs "")
    foreach(need IN LISTS ARGN)
        string(REPLACE "|" ";" need "${need}")
        list(GET need 0 name)
        list(GET need 1 version)
        list(GET need 2 licence)
        list(GET need 3 how)
        set(id "SPDXRef-Package-${name}")
        string(REPLACE "_" "-" id "${id}")
        if(version)
            set(version " \"versionInfo\": \"${version}\",")
        endif()
        string(APPEND needed ",
    { \"SPDXID\": \"${id}\", \"name\": \"${name}\",${version} \"filesAnalyzed\": false, \"downloadLocation\": \"NOASSERTION\",
      \"licenseConcluded\": \"NOASSERTION\", \"licenseDeclared\": \"${licence}\", \"copyrightText\": \"NOASSERTION\" }")
        string(APPEND needs ",
    { \"spdxElementId\": \"SPDXRef-Package\", \"relationshipType\": \"${how}\", \"relatedSpdxElement\": \"${id}\" }")
    endforeach()
    set(needed "${needed}" PARENT_SCOPE)
    set(needs "${needs}" PARENT_SCOPE)
endfunction()

# component_of(PACKAGE): sets `component` and the `name` of the package, by that of its file.
function(component_of file)
    foreach(component IN LISTS CPACK_COMPONENTS_ALL)
        string(TOUPPER ${component} upper)
        foreach(name "${CPACK_DEBIAN_${upper}_PACKAGE_NAME}" "${CPACK_ARCHIVE_${upper}_FILE_NAME}")
            if(name AND file MATCHES "^${name}[_.]")
                set(component ${component} PARENT_SCOPE)
                set(name "${name}" PARENT_SCOPE)
                return()
            endif()
        endforeach()
    endforeach()
    message(FATAL_ERROR "${file} is no package of this build")
endfunction()

file(READ "${CPACK_NORVALE_SOURCE}/LICENSE" licence)
string(REGEX MATCH "Copyright[^\n]*" copyright "${licence}")
json(copyright "${copyright}")
string(TIMESTAMP created "%Y-%m-%dT%H:%M:%SZ" UTC) # of SOURCE_DATE_EPOCH

foreach(package IN LISTS CPACK_PACKAGE_FILES)
    get_filename_component(file "${package}" NAME)
    component_of("${file}")
    set(work "${CPACK_TOPLEVEL_DIRECTORY}/sbom")
    unpack("${package}" "${work}")
    list_files("${unpacked}")
    list_needs(${CPACK_NORVALE_NEEDS_${component}})
    file(SHA1 "${package}" sha1)
    file(SHA256 "${package}" sha256)
    file(WRITE "${CPACK_PACKAGE_DIRECTORY}/${file}.spdx.json" "{
  \"spdxVersion\": \"SPDX-2.3\",
  \"dataLicense\": \"CC0-1.0\",
  \"SPDXID\": \"SPDXRef-DOCUMENT\",
  \"name\": \"${file}\",
  \"documentNamespace\": \"https://norvale.example/spdx/${file}-${sha256}\",
  \"creationInfo\": { \"created\": \"${created}\", \"creators\": [ \"Organization: ${CPACK_PACKAGE_VENDOR}\", \"Tool: cpack-${CMAKE_VERSION}\" ] },
  \"packages\": [
    { \"SPDXID\": \"SPDXRef-Package\", \"name\": \"${name}\", \"versionInfo\": \"${CPACK_PACKAGE_VERSION}\", \"packageFileName\": \"${file}\",
      \"supplier\": \"Organization: ${CPACK_PACKAGE_VENDOR}\", \"downloadLocation\": \"NOASSERTION\", \"filesAnalyzed\": true,
      \"packageVerificationCode\": { \"packageVerificationCodeValue\": \"${code}\" },
      \"checksums\": [ { \"algorithm\": \"SHA1\", \"checksumValue\": \"${sha1}\" },
                     { \"algorithm\": \"SHA256\", \"checksumValue\": \"${sha256}\" } ],
      \"licenseConcluded\": \"MIT\", \"licenseDeclared\": \"MIT\", \"licenseInfoFromFiles\": [ \"NOASSERTION\" ],
      \"copyrightText\": ${copyright} }${needed}
  ],
  \"files\": [
${files}
  ],
  \"relationships\": [
    { \"spdxElementId\": \"SPDXRef-DOCUMENT\", \"relationshipType\": \"DESCRIBES\", \"relatedSpdxElement\": \"SPDXRef-Package\" }${needs}${contains}
  ]
}
")
    file(REMOVE_RECURSE "${work}")
endforeach()
