# Every folder is one library. Its headers are reachable only for those that name it in USES: they are included as
# "folder/header.h" through a directory that holds the headers of this one folder, so a wrong include does not build.

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

# kova_library(FOLDER [USES folders...] [LIBRARIES targets...])
function(kova_library folder)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "USES;LIBRARIES")
  kova_target_name(${folder} target)
  file(GLOB headers CONFIGURE_DEPENDS RELATIVE ${CMAKE_SOURCE_DIR} "${CMAKE_SOURCE_DIR}/${folder}/*.h")
  file(GLOB sources CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/${folder}/*.cc")
  list(FILTER sources EXCLUDE REGEX "/main\\.cc$")

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
