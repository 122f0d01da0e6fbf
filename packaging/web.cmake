# The package of the service for web pages, where it is built. Included by
# Packages.cmake before it goes through the components.
if(NOT TARGET mvfp-web)
  return()
endif()
list(APPEND CPACK_COMPONENTS_ALL web)
set(CPACK_DEBIAN_WEB_PACKAGE_NAME mv-fpi-web)
set(CPACK_DEBIAN_WEB_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_WEB_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_WEB_PACKAGE_DEPENDS "mv-fpi-tools ${same_version}")
set(CPACK_DEBIAN_WEB_PACKAGE_RECOMMENDS mv-fpi-prompt)
set(CPACK_COMPONENT_WEB_DESCRIPTION
  "The reader for web pages: a local service that serves the listed origins
alone, a module for their pages, and a page that shows how.")
set(CPACK_DEBIAN_WEB_PACKAGE_CONTROL_EXTRA ${debian}/web/conffiles)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/web
  DESTINATION share/mv-fpi COMPONENT web)
install(FILES ${debian}/web/mv-fpi-web.service
  DESTINATION lib/systemd/user COMPONENT web)
# Beside /usr, which is where packages go; an installation by hand is not to
# write there.
install(FILES ${debian}/web/web.conf
  DESTINATION ../etc/mv-fpi COMPONENT web EXCLUDE_FROM_ALL)
