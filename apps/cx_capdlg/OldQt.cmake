# The window once more, for systems with an older C library: with the Qt 5 of the
# older runtime. Taken as it lies there, for its CMake files demand tools and
# graphics libraries that nothing here uses.
set(place usr/lib/${CMAKE_LIBRARY_ARCHITECTURE})
set(headers ${MV_OLD_RUNTIME}/usr/include/${CMAKE_LIBRARY_ARCHITECTURE}/qt5)
add_library(old_qt INTERFACE)
# A program is tagged for its own minor release of Qt, unless it declines.
target_compile_definitions(old_qt INTERFACE QT_NO_VERSION_TAGGING)
target_compile_options(old_qt INTERFACE ${MV_OLD_RUNTIME_COMPILE} -fPIC)
target_include_directories(old_qt SYSTEM INTERFACE ${headers})
foreach(module Widgets Gui Core)
  target_include_directories(old_qt SYSTEM INTERFACE ${headers}/Qt${module})
  target_link_libraries(old_qt INTERFACE
    ${MV_OLD_RUNTIME}/${place}/libQt5${module}.so)
endforeach()
target_link_options(old_qt INTERFACE ${MV_OLD_RUNTIME_LINK}
  -Wl,--allow-shlib-undefined)

prompt_program(cx_capdlg_qt5 old_qt)
set_target_properties(cx_capdlg_qt5 PROPERTIES
  OUTPUT_NAME cx_capdlg
  RUNTIME_OUTPUT_DIRECTORY ${MV_RUNTIME_DIR}/qt5)
install(TARGETS cx_capdlg_qt5
  RUNTIME DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT prompt_qt5
  EXCLUDE_FROM_ALL)
