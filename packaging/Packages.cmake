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
set(CPACK_COMPONENTS_ALL runtime dev tools)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SOURCE mv-fpi)
if(CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64)
else()
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE amd64)
endif()
set(same_version "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libmv-fpi1)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
# The window's texts are Chinese, and the driver finds a running one by pgrep.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS
  "fonts-noto-cjk | fonts-wqy-microhei, procps")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
  "The driver library: captures features, enrols fingers, compares records and
reads version and serial number. Comes with the prompt window of guided
enrolment, a udev rule for the readers' ports and the lock file that all users
share.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  ${debian}/postinst
  ${debian}/postrm
  ${debian}/triggers
  ${debian}/shlibs)

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libmv-fpi-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libmv-fpi1 ${same_version}")
set(CPACK_COMPONENT_DEV_DESCRIPTION
  "Development files: headers, pkg-config file, CMake package, and the
static library with which a prompt program of one's own talks to it.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME mv-fpi-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "libmv-fpi1 ${same_version}")
# Its own driver is not yet a package that dpkg-shlibdeps could ask.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${MV_RUNTIME_DIR})
set(CPACK_COMPONENT_TOOLS_DESCRIPTION
  "Command-line tools: mvfp captures, enrols, compares, inspects and draws
records; mvfp-vreader is a virtual reader for tests without hardware.")

set(changelog ${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian)
configure_file(${debian}/changelog.in ${changelog} @ONLY)
execute_process(COMMAND gzip -9nkf ${changelog} COMMAND_ERROR_IS_FATAL ANY)
foreach(component RUNTIME DEV TOOLS)
  string(TOLOWER ${component} lower)
  set(doc share/doc/${CPACK_DEBIAN_${component}_PACKAGE_NAME})
  install(FILES ${changelog}.gz ${debian}/copyright
    DESTINATION ${doc} COMPONENT ${lower} EXCLUDE_FROM_ALL)
endforeach()
install(FILES ${debian}/70-mv-fpi.rules
  DESTINATION lib/udev/rules.d COMPONENT runtime)
install(FILES ${debian}/mv-fpi.conf
  DESTINATION lib/tmpfiles.d COMPONENT runtime)
install(FILES ${debian}/libmv-fpi1.lintian-overrides
  DESTINATION share/lintian/overrides RENAME libmv-fpi1
  COMPONENT runtime EXCLUDE_FROM_ALL)

include(CPack)
