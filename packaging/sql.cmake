# The packages with the functions for databases, where they are built. Included
# by Packages.cmake before it goes through the components.
set(libmv_match "libmv-match1 ${same_version}")

if(TARGET mod_mv_fpi)
  list(APPEND CPACK_COMPONENTS_ALL sqlite)
  set(CPACK_DEBIAN_SQLITE_PACKAGE_NAME libsqlite3-mod-mv-fpi)
  set(CPACK_DEBIAN_SQLITE_PACKAGE_SECTION database)
  set(CPACK_DEBIAN_SQLITE_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_SQLITE_PACKAGE_DEPENDS
    "${libmv_match}, libsqlite3-0 (>= 3.31)")
  set(CPACK_DEBIAN_SQLITE_PACKAGE_ENHANCES "sqlite3, python3")
  set(CPACK_COMPONENT_SQLITE_DESCRIPTION
    "SQLite functions on fingerprint records: compares two records, tells what
is wrong with one, and turns its text into bytes and back. A loadable module,
for the sqlite3 shell and any program that may load extensions.")
  install(FILES ${debian}/libsqlite3-mod-mv-fpi.lintian-overrides
    DESTINATION share/lintian/overrides RENAME libsqlite3-mod-mv-fpi
    COMPONENT sqlite EXCLUDE_FROM_ALL)
endif()

if(TARGET mv_fpi_postgresql)
  list(APPEND CPACK_COMPONENTS_ALL postgresql)
  set(CPACK_DEBIAN_POSTGRESQL_PACKAGE_NAME postgresql-${MV_POSTGRESQL}-mv-fpi)
  set(CPACK_DEBIAN_POSTGRESQL_PACKAGE_SECTION database)
  set(CPACK_DEBIAN_POSTGRESQL_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_POSTGRESQL_PACKAGE_DEPENDS
    "${libmv_match}, postgresql-${MV_POSTGRESQL}")
  set(CPACK_COMPONENT_POSTGRESQL_DESCRIPTION
    "PostgreSQL functions on fingerprint records: compares two records, tells
what is wrong with one, and turns its text into bytes and back. A database gets
them by CREATE EXTENSION mv_fpi; queries may run in parallel and on foreign
tables.")
endif()
