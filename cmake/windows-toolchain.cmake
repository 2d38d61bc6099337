# Cross-compiles for Windows with MinGW-w64, everything linked statically. The libraries lie in one prefix, made by
# scripts/windows-libraries.sh.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(KOVA_MINGW x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${KOVA_MINGW}-gcc-posix)
set(CMAKE_CXX_COMPILER ${KOVA_MINGW}-g++-posix)
set(CMAKE_RC_COMPILER ${KOVA_MINGW}-windres)

if(DEFINED ENV{KOVA_WINDOWS_LIBRARIES})
  set(KOVA_WINDOWS_LIBRARIES "$ENV{KOVA_WINDOWS_LIBRARIES}")
elseif(DEFINED ENV{XDG_CACHE_HOME})
  set(KOVA_WINDOWS_LIBRARIES "$ENV{XDG_CACHE_HOME}/kova-wap/windows")
else()
  set(KOVA_WINDOWS_LIBRARIES "$ENV{HOME}/.cache/kova-wap/windows")
endif()

# Libraries and headers of Windows only, programs of this machine only.
set(CMAKE_FIND_ROOT_PATH ${KOVA_WINDOWS_LIBRARIES} /usr/${KOVA_MINGW})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ZLIB_USE_STATIC_LIBS ON)
# wxWidgets' own package file; CMake's script would look for wx-config.
set(CMAKE_FIND_PACKAGE_PREFER_CONFIG ON)
set(ENV{PKG_CONFIG_LIBDIR} ${KOVA_WINDOWS_LIBRARIES}/lib/pkgconfig:/usr/${KOVA_MINGW}/lib/pkgconfig)
set(PKG_CONFIG_ARGN --static)

# Windows 10 and later.
set(CMAKE_C_FLAGS_INIT "-D_WIN32_WINNT=0x0A00")
set(CMAKE_CXX_FLAGS_INIT "-D_WIN32_WINNT=0x0A00 -DUNICODE -D_UNICODE -DNOMINMAX -DWIN32_LEAN_AND_MEAN")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
