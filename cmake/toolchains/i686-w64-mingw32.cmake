# Cross build for 32-bit Windows: the plug-in that hosts load.
set(CMAKE_SYSTEM_PROCESSOR x86)
set(TAGVERA_MINGW_TRIPLET i686-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake)
