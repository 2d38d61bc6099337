# wxWidgets, and on Linux the GLib loop below it. Their headers are not held to our warnings.
find_package(wxWidgets 3.2 REQUIRED COMPONENTS core base)
if(NOT WIN32)
  pkg_check_modules(GLIB REQUIRED IMPORTED_TARGET glib-2.0 gobject-2.0)
endif()

add_library(kova_toolkit INTERFACE)
target_include_directories(kova_toolkit SYSTEM INTERFACE ${wxWidgets_INCLUDE_DIRS})
target_compile_definitions(kova_toolkit INTERFACE ${wxWidgets_DEFINITIONS})
target_compile_options(kova_toolkit INTERFACE ${wxWidgets_CXX_FLAGS})
target_link_libraries(kova_toolkit INTERFACE ${wxWidgets_LIBRARIES} $<TARGET_NAME_IF_EXISTS:PkgConfig::GLIB>)
