# Cross build for 64-bit Windows: the same library as a build that Wine runs here.
set(CMAKE_SYSTEM_PROCESSOR AMD64)
set(TAGVERA_MINGW_TRIPLET x86_64-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake)
