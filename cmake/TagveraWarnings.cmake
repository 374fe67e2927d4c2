# One warning policy for every target of the project.
function(tagvera_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow
    -Wno-unused-parameter -Wno-missing-field-initializers)
  if(TAGVERA_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

# A static layer library: sources of one folder, the ABI headers, the src/ include root.
function(tagvera_layer name)
  cmake_parse_arguments(L "" "" "SOURCES;DEPS" ${ARGN})
  if(NOT L_SOURCES)
    # A folder whose sources have not landed yet still gives its dependants a target to name.
    add_library(tagvera_${name} INTERFACE)
    target_include_directories(tagvera_${name} INTERFACE ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(tagvera_${name} INTERFACE tagvera_abi ${L_DEPS})
    return()
  endif()
  add_library(tagvera_${name} STATIC ${L_SOURCES})
  target_include_directories(tagvera_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(tagvera_${name} PUBLIC tagvera_abi ${L_DEPS})
  tagvera_warnings(tagvera_${name})
endfunction()
