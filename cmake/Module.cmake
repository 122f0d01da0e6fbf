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
