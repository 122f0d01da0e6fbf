# Imported targets: mv_fpi::mv_fpi, the driver; mv_fpi::mv_match, records without
# a reader; and mv_fpi::cx_capdlg_lib, the prompt channel for programs that must
# not load the driver.
include(${CMAKE_CURRENT_LIST_DIR}/mv_fpi-targets.cmake)
