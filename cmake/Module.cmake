# mv_module(NAME source...): one room of the house. An object library, so that
# the driver and mv_fpi_static hold every module whole; its files include their
# neighbours as "module/file.h", and log under the path of their directory.
set_property(GLOBAL PROPERTY MV_MODULES "")

function(mv_module name)
  add_library(${name} OBJECT ${ARGN})
  target_include_directories(${name} PUBLIC
    ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/src
    ${PROJECT_SOURCE_DIR}/corvex_capdlg)
  file(RELATIVE_PATH place ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
  target_compile_definitions(${name} PRIVATE MV_LOG_SOURCE="${place}")
  target_compile_options(${name} PRIVATE ${MV_OLD_RUNTIME_COMPILE})
  set_property(GLOBAL APPEND PROPERTY MV_MODULES ${name})
endfunction()

# mv_own_runtime(NAME): it brings its C++ runtime, and loads on old systems.
function(mv_own_runtime name)
  if(NOT MV_SANITIZE)
    target_link_options(${name} PRIVATE
      -static-libstdc++ -static-libgcc ${MV_OLD_RUNTIME_LINK})
  endif()
endfunction()

# mv_program(NAME source...): a tool, which runs wherever the driver does.
function(mv_program name)
  add_executable(${name} ${ARGN})
  target_compile_options(${name} PRIVATE ${MV_OLD_RUNTIME_COMPILE})
  mv_own_runtime(${name})
  set_target_properties(${name} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY ${MV_RUNTIME_DIR})
  install(TARGETS ${name}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
endfunction()

# mv_shared_library(NAME object...): what hosts load. Exports what NAME.map in
# this directory names. A C++ runtime of its own, hidden: a host may be plain C,
# or bring another one.
function(mv_shared_library name)
  set(map ${CMAKE_CURRENT_SOURCE_DIR}/${name}.map)
  add_library(${name} SHARED ${ARGN})
  target_include_directories(${name} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  target_link_options(${name} PRIVATE -Wl,--version-script=${map})
  if(NOT MV_SANITIZE)
    target_sources(${name} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/own_runtime.cpp)
    target_link_options(${name} PRIVATE -Wl,--no-undefined)
  endif()
  mv_own_runtime(${name})
  set_target_properties(${name} PROPERTIES
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    LIBRARY_OUTPUT_DIRECTORY ${MV_RUNTIME_DIR}
    LINK_DEPENDS ${map})
endfunction()
