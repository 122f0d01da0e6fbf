# Manual pages and shell completion, made from what the programs say to --help
# and from the comments of the headers, so that they cannot fall behind.
find_package(Python3 3.9 COMPONENTS Interpreter)
if(NOT Python3_FOUND OR NOT MV_BUILD_TOOLS OR MV_SANITIZE)
  message(STATUS "No manual pages: they need python3, the tools, no sanitizer")
  return()
endif()

set(manual ${CMAKE_CURRENT_LIST_DIR}/manual)
set(MV_MANUAL_DIR ${CMAKE_CURRENT_BINARY_DIR}/manual)
set(MV_COMPLETION_DIR ${CMAKE_CURRENT_BINARY_DIR}/completions)
set(python ${Python3_EXECUTABLE} -B)
set(modules ${manual}/roff.py ${manual}/help_text.py)
file(MAKE_DIRECTORY ${MV_MANUAL_DIR}/1 ${MV_MANUAL_DIR}/3 ${MV_MANUAL_DIR}/5
  ${MV_MANUAL_DIR}/7 ${MV_COMPLETION_DIR})
set(made "")

foreach(program mvfp mvfp-vreader mvfp-web cx_capdlg)
  if(NOT TARGET ${program})
    continue()
  endif()
  set(run ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:${program}>)
  set(page ${MV_MANUAL_DIR}/1/${program}.1.gz)
  add_custom_command(OUTPUT ${page}
    COMMAND ${python} ${manual}/program_pages.py
      ${MV_MANUAL_DIR}/1 ${PROJECT_VERSION} ${run}
    DEPENDS ${program} ${manual}/program_pages.py ${modules})
  list(APPEND made ${page})
endforeach()

foreach(program mvfp mvfp-vreader mvfp-web)
  if(NOT TARGET ${program})
    continue()
  endif()
  set(script ${MV_COMPLETION_DIR}/${program})
  add_custom_command(OUTPUT ${script}
    COMMAND ${python} ${manual}/completion.py ${MV_COMPLETION_DIR}
      ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:${program}>
    DEPENDS ${program} ${manual}/completion.py ${modules})
  list(APPEND made ${script})
endforeach()

foreach(library mv_fpi mv_match cx_capdlg_lib)
  set(header ${PROJECT_SOURCE_DIR}/include/${library}.h)
  set(page ${MV_MANUAL_DIR}/3/${library}.3.gz)
  add_custom_command(OUTPUT ${page}
    COMMAND ${python} ${manual}/header_pages.py
      ${MV_MANUAL_DIR}/3 ${PROJECT_VERSION} -l${library} ${header}
    DEPENDS ${header} ${manual}/header_pages.py ${modules})
  list(APPEND made ${page})
endforeach()

foreach(name mv_fpi_lock.5 mv_fpi_log.5 mv_fpi_record.5 mv_fpi.7)
  string(REGEX MATCH "[0-9]$" section ${name})
  set(text ${manual}/pages/${name}.txt)
  set(page ${MV_MANUAL_DIR}/${section}/${name}.gz)
  add_custom_command(OUTPUT ${page}
    COMMAND ${python} ${manual}/text_pages.py
      ${MV_MANUAL_DIR} ${PROJECT_VERSION} ${text}
    DEPENDS ${text} ${manual}/text_pages.py ${manual}/header_pages.py ${modules})
  list(APPEND made ${page})
endforeach()
add_custom_target(manual ALL DEPENDS ${made})

install(FILES ${MV_MANUAL_DIR}/1/mvfp.1.gz ${MV_MANUAL_DIR}/1/mvfp-vreader.1.gz
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
install(FILES ${MV_COMPLETION_DIR}/mvfp ${MV_COMPLETION_DIR}/mvfp-vreader
  DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
  COMPONENT tools)
foreach(section 5 7)
  install(DIRECTORY ${MV_MANUAL_DIR}/${section}/
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT tools)
endforeach()
install(DIRECTORY ${MV_MANUAL_DIR}/3/
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man3 COMPONENT dev)
if(TARGET mvfp-web)
  install(FILES ${MV_MANUAL_DIR}/1/mvfp-web.1.gz
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT web)
  install(FILES ${MV_COMPLETION_DIR}/mvfp-web
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
    COMPONENT web)
endif()
if(TARGET cx_capdlg)
  install(FILES ${MV_MANUAL_DIR}/1/cx_capdlg.1.gz
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT prompt)
  install(FILES ${MV_MANUAL_DIR}/1/cx_capdlg.1.gz
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT prompt_qt5
    EXCLUDE_FROM_ALL)
endif()
