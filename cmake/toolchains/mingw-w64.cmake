# What both Windows cross builds share (Debian's mingw-w64); the including file sets
# CMAKE_SYSTEM_PROCESSOR and TAGVERA_MINGW_TRIPLET first.
# The posix threading flavour, because the library uses std::thread and std::mutex.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_C_COMPILER ${TAGVERA_MINGW_TRIPLET}-gcc-posix)
set(CMAKE_CXX_COMPILER ${TAGVERA_MINGW_TRIPLET}-g++-posix)
set(CMAKE_RC_COMPILER ${TAGVERA_MINGW_TRIPLET}-windres)
set(CMAKE_FIND_ROOT_PATH /usr/${TAGVERA_MINGW_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# pkg-config answers for the target's libraries only, never the build machine's.
set(ENV{PKG_CONFIG_LIBDIR} ${CMAKE_FIND_ROOT_PATH}/lib/pkgconfig)
set(ENV{PKG_CONFIG_PATH} "")
# The runtimes (libgcc, libstdc++, winpthread) and zlib linked in, so that the DLL and every program
# import only the system's DLLs: a host's plug-in folder holds tagvera.dll alone.
set(CMAKE_SHARED_LINKER_FLAGS_INIT -static)
set(CMAKE_MODULE_LINKER_FLAGS_INIT -static)
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
set(ZLIB_USE_STATIC_LIBS ON)
