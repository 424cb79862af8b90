# Debian's mingw-w64 for Windows 7 and later. The including file sets `processor`.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_VERSION 6.1)
set(CMAKE_SYSTEM_PROCESSOR ${processor})

# With threads of the C++ library, which the other variant does not have.
set(CMAKE_CXX_COMPILER ${processor}-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER ${processor}-w64-mingw32-windres)

# Programs that build come from this machine, everything that is built with from Windows' folders.
set(CMAKE_FIND_ROOT_PATH /usr/${processor}-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Test programs run under Wine.
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/wine/test.sh)
