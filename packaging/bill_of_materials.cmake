# Writes the bill of materials: the libraries that are linked into the programs, with their
# versions, in CycloneDX's format. What the system loads at the start is not in it.

set(bill ${PROJECT_BINARY_DIR}/tamlin-launcher.cdx.json)
set(components)

# Sets `variable` to the group of the regular expression, from the first line of the file
# that fits.
function(read_from variable file expression)
  file(STRINGS ${file} lines REGEX "${expression}" LIMIT_COUNT 1)
  if(NOT lines MATCHES "${expression}")
    message(FATAL_ERROR "${file} has no line like '${expression}'")
  endif()
  set(${variable} "${CMAKE_MATCH_1}" PARENT_SCOPE)
endfunction()

# add_component(NAME VERSION LICENSE PROGRAM...)
function(add_component name version license)
  list(JOIN ARGN ", " programs)
  list(APPEND components "    {
      \"type\": \"library\",
      \"bom-ref\": \"${name}\",
      \"name\": \"${name}\",
      \"version\": \"${version}\",
      \"licenses\": [{\"expression\": \"${license}\"}],
      \"properties\": [{\"name\": \"linked into\", \"value\": \"${programs}\"}]
    }")
  set(components "${components}" PARENT_SCOPE)
endfunction()

if(TARGET jsoncpp)
  read_from(version ${JSONCPP_SOURCE_DIR}/include/json/version.h
    "JSONCPP_VERSION_STRING \"([0-9.]+)\"")
  add_component(jsoncpp ${version} MIT
    launcher launcher-status launcher-stop launchlist-check launchlist-export
    launchlog-report)
endif()

if(STATIC_LIBRARIES AND TARGET jsoncpp AND CMAKE_SYSTEM_NAME STREQUAL "Linux")
  add_component(libstdc++ ${CMAKE_CXX_COMPILER_VERSION}
    "GPL-3.0-or-later WITH GCC-exception-3.1" launcher liblogger)
endif()

if(CMAKE_SYSTEM_NAME STREQUAL "Linux" AND NOT SANITIZERS)
  execute_process(COMMAND ${CMAKE_C_COMPILER} -E -dM -include features.h -x c /dev/null
    OUTPUT_VARIABLE macros COMMAND_ERROR_IS_FATAL ANY)
  if(macros MATCHES "__GLIBC__ ([0-9]+)")
    set(major ${CMAKE_MATCH_1})
    string(REGEX MATCH "__GLIBC_MINOR__ ([0-9]+)" minor "${macros}")
    add_component(glibc ${major}.${CMAKE_MATCH_1} LGPL-2.1-or-later launch-with)
  endif()
endif()

list(JOIN components ",\n" components)
file(CONFIGURE OUTPUT ${bill} @ONLY CONTENT "{
  \"bomFormat\": \"CycloneDX\",
  \"specVersion\": \"1.5\",
  \"version\": 1,
  \"metadata\": {
    \"component\": {
      \"type\": \"application\",
      \"bom-ref\": \"tamlin-launcher\",
      \"name\": \"tamlin-launcher\",
      \"version\": \"@PROJECT_VERSION@\"
    },
    \"properties\": [{
      \"name\": \"not linked into any program\",
      \"value\": \"libuuid: no program makes identifiers\"
    }]
  },
  \"components\": [
@components@
  ]
}
")
install(FILES ${bill} DESTINATION ${documents})
