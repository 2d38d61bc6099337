# Every folder is one library. Its headers are reachable only for those that name it in USES: they are included as
# "folder/header.h" through a directory that holds the headers of this one folder, so a wrong include does not build.

if(WIN32)
  set(CMAKE_FIND_LIBRARY_SUFFIXES .a)  # not .dll.a: a program is one file
endif()
find_package(PkgConfig REQUIRED)
pkg_check_modules(ICAL REQUIRED IMPORTED_TARGET libical)
pkg_check_modules(GMIME REQUIRED IMPORTED_TARGET gmime-3.0)

function(kova_target_name folder result)
  string(REPLACE "/" "_" name "${folder}")
  set(${result} "kova_${name}" PARENT_SCOPE)
endfunction()

function(kova_use target scope)
  foreach(used IN LISTS ARGN)
    kova_target_name(${used} name)
    target_link_libraries(${target} ${scope} ${name})
  endforeach()
endfunction()

# What a folder needs of the system lies in its sub-folder of that name.
if(WIN32)
  set(KOVA_SYSTEM windows)
else()
  set(KOVA_SYSTEM posix)
endif()

# kova_library(FOLDER [BY_SYSTEM] [USES folders...] [LIBRARIES targets...])
# BY_SYSTEM: the folder's own posix/ or windows/ belongs to it.
function(kova_library folder)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "BY_SYSTEM" "" "USES;LIBRARIES")
  kova_target_name(${folder} target)
  file(GLOB headers CONFIGURE_DEPENDS RELATIVE ${CMAKE_SOURCE_DIR} "${CMAKE_SOURCE_DIR}/${folder}/*.h")
  file(GLOB sources CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/${folder}/*.cc")
  list(FILTER sources EXCLUDE REGEX "/main\\.cc$")
  if(ARG_BY_SYSTEM)
    set(own "${CMAKE_SOURCE_DIR}/${folder}/${KOVA_SYSTEM}")
    file(GLOB own_headers CONFIGURE_DEPENDS RELATIVE ${CMAKE_SOURCE_DIR} "${own}/*.h")
    file(GLOB own_sources CONFIGURE_DEPENDS "${own}/*.cc")
    list(APPEND headers ${own_headers})
    list(APPEND sources ${own_sources})
  endif()

  set(include_dir "${CMAKE_BINARY_DIR}/include/${target}")
  file(REMOVE_RECURSE "${include_dir}")
  foreach(header IN LISTS headers)
    get_filename_component(parent "${include_dir}/${header}" DIRECTORY)
    file(MAKE_DIRECTORY "${parent}")
    file(CREATE_LINK "${CMAKE_SOURCE_DIR}/${header}" "${include_dir}/${header}" SYMBOLIC)
  endforeach()

  if(sources)
    add_library(${target} STATIC ${sources})
    target_include_directories(${target} PUBLIC "${include_dir}")
    kova_use(${target} PUBLIC ${ARG_USES})
    target_link_libraries(${target} PRIVATE ${ARG_LIBRARIES})
  else()
    add_library(${target} INTERFACE)
    target_include_directories(${target} INTERFACE "${include_dir}")
    kova_use(${target} INTERFACE ${ARG_USES})
  endif()
endfunction()

# kova_program(NAME MAIN file DESCRIPTION text USES folders...)
function(kova_program name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "MAIN;DESCRIPTION" "USES")
  add_executable(${name} ${CMAKE_SOURCE_DIR}/${ARG_MAIN})
  if(WIN32)
    configure_file(${CMAKE_SOURCE_DIR}/share/windows/program.rc.in ${CMAKE_BINARY_DIR}/${name}.rc @ONLY)
    target_sources(${name} PRIVATE ${CMAKE_BINARY_DIR}/${name}.rc)
  endif()
  kova_use(${name} PRIVATE ${ARG_USES})
endfunction()

# kova_embed(TARGET HEADER NAME FILE): a header for the target's own sources with the text of the file in a constant.
function(kova_embed target header name file)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/${file}")
  file(READ "${CMAKE_SOURCE_DIR}/${file}" text)
  file(CONFIGURE OUTPUT "${CMAKE_BINARY_DIR}/embedded/${header}" @ONLY CONTENT
"#pragma once

// Made of @file@.
inline constexpr const char* @name@ = R\"embedded(@text@)embedded\";
")
  target_include_directories(${target} PRIVATE "${CMAKE_BINARY_DIR}/embedded")
endfunction()

# kova_zone_table(TARGET HEADER NAMESPACE): a header with libical's own time zones, for a program that cannot look them
# up in the system: rows of a zone's name and its VTIMEZONE, and of its other names, which it has from tzdata.
function(kova_zone_table target header namespace)
  set(folder "${ICAL_PREFIX}/share/libical/zoneinfo")
  file(GLOB_RECURSE zones RELATIVE "${folder}" "${folder}/*.ics")
  if(NOT zones)
    message(FATAL_ERROR "There are no time zones in ${folder}: libical has to be built with USE_BUILTIN_TZDATA=ON.")
  endif()
  set(rows "")
  foreach(zone IN LISTS zones)
    file(READ "${folder}/${zone}" text)
    string(REGEX REPLACE "\r|(LAST-MODIFIED|X-LIC-LOCATION|TZNAME):[^\n]*\n" "" text "${text}")
    string(REGEX MATCH "BEGIN:VTIMEZONE.*END:VTIMEZONE\n" text "${text}")
    string(REGEX REPLACE "\\.ics$" "" name "${zone}")
    string(REPLACE "\n" "\\n" text "${text}")
    string(APPEND rows "    {\"${name}\", \"${text}\"},\n")
  endforeach()
  set(links "")
  file(STRINGS "/usr/share/zoneinfo/tzdata.zi" lines REGEX "^L ")
  foreach(line IN LISTS lines)
    string(REGEX REPLACE "^L ([^ ]+) ([^ ]+)$" "    {\"\\2\", \"\\1\"},\n" line "${line}")
    string(APPEND links "${line}")
  endforeach()
  file(CONFIGURE OUTPUT "${CMAKE_BINARY_DIR}/embedded/${header}" @ONLY CONTENT
"#pragma once

#include <string_view>
#include <utility>

// Made of @folder@.
namespace @namespace@ {

using ZoneRow = std::pair<std::string_view, const char*>;
inline constexpr ZoneRow kZoneTable[] = {
@rows@};
inline constexpr ZoneRow kZoneLinks[] = {
@links@};

}  // namespace @namespace@
")
  target_include_directories(${target} PRIVATE "${CMAKE_BINARY_DIR}/embedded")
endfunction()
