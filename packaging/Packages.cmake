# Debian packages, one a component; build.sh makes them with the directories of
# their machine.
set(debian ${CMAKE_CURRENT_LIST_DIR}/debian)
set(CPACK_PACKAGE_NAME mv-fpi)
set(CPACK_PACKAGE_CONTACT
  "The mv_fpi authors <maintainers@mv-fpi.example>"
  CACHE STRING "Maintainer of the packages")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "fingerprint reader on a serial port")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
  WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL runtime match dev tools python doc)
if(TARGET cx_capdlg)
  list(APPEND CPACK_COMPONENTS_ALL prompt)
endif()
if(TARGET cx_capdlg_qt5)
  list(APPEND CPACK_COMPONENTS_ALL prompt_qt5)
endif()
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SOURCE mv-fpi)
# What this machine is, dpkg tells.
if(CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64)
elseif(CMAKE_CROSSCOMPILING)
  message(FATAL_ERROR
    "Debian's name for ${CMAKE_SYSTEM_PROCESSOR} is not known here")
endif()
set(same_version "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libmv-fpi1)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
# A terminal without a screen does without the window, and thus without Qt.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS "mv-fpi-prompt | mv-fpi-prompt-qt5")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
  "The driver library: captures features, enrols fingers, compares records and
reads version and serial number. Comes with a udev rule for the ports and the
lock file that all users share.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  ${debian}/postinst
  ${debian}/postrm
  ${debian}/triggers
  ${debian}/shlibs)

set(CPACK_DEBIAN_MATCH_PACKAGE_NAME libmv-match1)
set(CPACK_DEBIAN_MATCH_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_MATCH_PACKAGE_SHLIBDEPS ON)
set(CPACK_COMPONENT_MATCH_DESCRIPTION
  "Fingerprint records without a reader: compares two, searches many with every
processor. For servers as well as terminals.")
set(CPACK_DEBIAN_MATCH_PACKAGE_CONTROL_EXTRA
  ${debian}/triggers
  ${debian}/match/shlibs)

# The driver looks for the window beside its own file. The texts are Chinese, and
# the driver finds a running window by pgrep.
set(CPACK_DEBIAN_PROMPT_PACKAGE_NAME mv-fpi-prompt)
set(CPACK_DEBIAN_PROMPT_PACKAGE_SECTION misc)
set(CPACK_DEBIAN_PROMPT_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PROMPT_PACKAGE_DEPENDS procps)
set(CPACK_DEBIAN_PROMPT_PACKAGE_RECOMMENDS
  "fonts-noto-cjk | fonts-wqy-microhei")
set(CPACK_DEBIAN_PROMPT_PACKAGE_ENHANCES libmv-fpi1)
set(CPACK_COMPONENT_PROMPT_DESCRIPTION
  "The prompt window of guided enrolment: names the press that is due, shows
the finger, and lets the user cancel. The driver starts it.")

# The same for systems older than this one, whose libraries this one's dpkg does
# not know.
set(CPACK_DEBIAN_PROMPT_QT5_PACKAGE_NAME mv-fpi-prompt-qt5)
set(CPACK_DEBIAN_PROMPT_QT5_PACKAGE_SECTION misc)
set(CPACK_DEBIAN_PROMPT_QT5_PACKAGE_DEPENDS
  "libc6 (>= 2.28), libstdc++6 (>= 8), libqt5widgets5 (>= 5.8), procps")
set(CPACK_DEBIAN_PROMPT_QT5_PACKAGE_RECOMMENDS
  ${CPACK_DEBIAN_PROMPT_PACKAGE_RECOMMENDS})
set(CPACK_DEBIAN_PROMPT_QT5_PACKAGE_ENHANCES libmv-fpi1)
foreach(relation PROVIDES CONFLICTS REPLACES)
  set(CPACK_DEBIAN_PROMPT_QT5_PACKAGE_${relation} mv-fpi-prompt)
endforeach()
set(CPACK_COMPONENT_PROMPT_QT5_DESCRIPTION
  "The prompt window of guided enrolment: names the press that is due, shows
the finger, and lets the user cancel. With Qt 5, for older systems.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libmv-fpi-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
  "libmv-fpi1 ${same_version}, libmv-match1 ${same_version}")
set(CPACK_DEBIAN_DEV_PACKAGE_SUGGESTS mv-fpi-doc)
set(CPACK_COMPONENT_DEV_DESCRIPTION
  "Development files: headers, pkg-config file, CMake package, and the
static library with which a prompt program of one's own talks to it.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME mv-fpi-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
# This machine's dpkg asks for glibc 2.34 where sysconf() is called; build.sh
# measures what is needed.
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS
  "libmv-fpi1 ${same_version}, libc6 (>= 2.28)")
# Pictures and galleries load them; the rest does without.
set(CPACK_DEBIAN_TOOLS_PACKAGE_RECOMMENDS "libcairo2, libsqlite3-0")
# Its own driver is not yet a package that dpkg-shlibdeps could ask.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${MV_RUNTIME_DIR})
set(CPACK_COMPONENT_TOOLS_DESCRIPTION
  "Command-line tools: mvfp captures, enrols, compares, inspects and draws
records; mvfp-vreader is a virtual reader for tests without hardware.")

set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-mv-fpi)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
  "python3 (>= 3.9), libmv-fpi1 (>= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_PYTHON_DESCRIPTION
  "The driver's calls for Python: methods with types, and exceptions that know
the code, its meaning and what to do about it.")
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
  ${debian}/python/postinst
  ${debian}/python/prerm)

set(CPACK_DEBIAN_DOC_PACKAGE_NAME mv-fpi-doc)
set(CPACK_DEBIAN_DOC_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOC_PACKAGE_ARCHITECTURE all)
set(CPACK_COMPONENT_DOC_DESCRIPTION
  "The guides, in English and partly in Chinese: integration, result codes,
security levels, formats, protocol, troubleshooting. With small programs that
are built against the development files, by pkg-config or CMake.")

include(${CMAKE_CURRENT_LIST_DIR}/sql.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/web.cmake)

set(changelog ${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian)
configure_file(${debian}/changelog.in ${changelog} @ONLY)
execute_process(COMMAND gzip -9nkf ${changelog} COMMAND_ERROR_IS_FATAL ANY)
foreach(component ${CPACK_COMPONENTS_ALL})
  string(TOUPPER ${component} upper)
  set(doc share/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
  install(FILES ${changelog}.gz ${debian}/copyright
    DESTINATION ${doc} COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()
# As pip would record it.
configure_file(${debian}/python/METADATA.in METADATA @ONLY)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/python/mv_fpi
  DESTINATION lib/python3/dist-packages COMPONENT python EXCLUDE_FROM_ALL
  PATTERN __pycache__ EXCLUDE)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/METADATA
  DESTINATION lib/python3/dist-packages/mv_fpi-${PROJECT_VERSION}.dist-info
  COMPONENT python EXCLUDE_FROM_ALL)
# Links between the pages hold as they do in the sources.
file(GLOB pages ${PROJECT_SOURCE_DIR}/*.md)
list(FILTER pages EXCLUDE REGEX CHANGELOG)
install(FILES ${pages}
  DESTINATION share/doc/mv-fpi-doc COMPONENT doc EXCLUDE_FROM_ALL)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs
  DESTINATION share/doc/mv-fpi-doc COMPONENT doc EXCLUDE_FROM_ALL)
install(FILES ${PROJECT_SOURCE_DIR}/python/README.md
  DESTINATION share/doc/mv-fpi-doc/python COMPONENT doc EXCLUDE_FROM_ALL)
install(DIRECTORY ${CMAKE_CURRENT_LIST_DIR}/hosts/
  DESTINATION share/doc/mv-fpi-doc/examples COMPONENT doc EXCLUDE_FROM_ALL)
install(FILES ${debian}/72-mv-fpi.rules
  DESTINATION lib/udev/rules.d COMPONENT runtime)
install(FILES ${debian}/mv-fpi.conf
  DESTINATION lib/tmpfiles.d COMPONENT runtime)
foreach(component runtime match)
  string(TOUPPER ${component} upper)
  set(package ${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
  install(FILES ${debian}/${package}.lintian-overrides
    DESTINATION share/lintian/overrides RENAME ${package}
    COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()

include(CPack)
