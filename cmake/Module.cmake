# mv_module(NAME source...): one room of the house. An object library, so that
# the driver and mv_fpi_static hold every module whole; its files include their
# neighbours as "module/file.h".
set_property(GLOBAL PROPERTY MV_MODULES "")

function(mv_module name)
  add_library(${name} OBJECT ${ARGN})
  target_include_directories(${name} PUBLIC
    ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/src
    ${PROJECT_SOURCE_DIR}/corvex_capdlg)
  target_compile_options(${name} PRIVATE ${MV_OLD_RUNTIME_COMPILE})
  set_property(GLOBAL APPEND PROPERTY MV_MODULES ${name})
endfunction()
