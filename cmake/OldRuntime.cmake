# For hosts with an older C library than this machine's: driver, matcher and
# tools are compiled and linked with the C and C++ runtime of an older system,
# and a second window with its Qt.
set(MV_OLD_RUNTIME "" CACHE PATH
  "System whose C and C++ runtime is linked with; else this machine's")
set(MV_OLD_RUNTIME_COMPILE "")
set(MV_OLD_RUNTIME_LINK "")
if(NOT MV_OLD_RUNTIME)
  return()
endif()

set(triplet ${CMAKE_LIBRARY_ARCHITECTURE})
file(GLOB compiler_dir ${MV_OLD_RUNTIME}/usr/lib/gcc/${triplet}/*)
get_filename_component(version ${compiler_dir} NAME)
# Waits by the steady clock came with glibc 2.30; before, the C++ library does
# with what there was.
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/older-runtime/bits/c++config.h
  CONTENT "#include_next <bits/c++config.h>
#undef _GLIBCXX_USE_PTHREAD_COND_CLOCKWAIT
#undef _GLIBCXX_USE_PTHREAD_MUTEX_CLOCKLOCK
#undef _GLIBCXX_USE_PTHREAD_RWLOCK_CLOCKLOCK
")
set(MV_OLD_RUNTIME_COMPILE --sysroot=${MV_OLD_RUNTIME}
  $<$<COMPILE_LANGUAGE:CXX>:-nostdinc++>
  $<$<COMPILE_LANGUAGE:CXX>:-isystem${PROJECT_BINARY_DIR}/older-runtime>)
foreach(dir c++/${version} ${triplet}/c++/${version})
  list(APPEND MV_OLD_RUNTIME_COMPILE
    $<$<COMPILE_LANGUAGE:CXX>:-isystem${MV_OLD_RUNTIME}/usr/include/${dir}>)
endforeach()
# A cross compiler has a C library of its own, and looks there first.
foreach(dir ${triplet} "")
  list(APPEND MV_OLD_RUNTIME_COMPILE
    -isystem${MV_OLD_RUNTIME}/usr/include/${dir})
endforeach()
# Libraries that are headers alone, loaded by name or linked whole are this
# machine's.
set(headers ${PROJECT_BINARY_DIR}/old-runtime-headers)
file(MAKE_DIRECTORY ${headers})
foreach(header CLI nlohmann sha2.h sqlite3.h zconf.h zlib.h)
  find_path(place ${header} REQUIRED NO_CACHE)
  file(CREATE_LINK ${place}/${header} ${headers}/${header} SYMBOLIC)
  unset(place)
endforeach()
list(APPEND MV_OLD_RUNTIME_COMPILE -isystem${headers})
# GCC 12 takes the std::function of GCC 10 for uninitialized.
list(APPEND MV_OLD_RUNTIME_COMPILE
  -Wno-uninitialized -Wno-maybe-uninitialized)
set(MV_OLD_RUNTIME_LINK --sysroot=${MV_OLD_RUNTIME} -pthread)
foreach(dir usr/lib/gcc/${triplet}/${version} usr/lib/${triplet} lib/${triplet})
  list(APPEND MV_OLD_RUNTIME_LINK
    -B${MV_OLD_RUNTIME}/${dir} -L${MV_OLD_RUNTIME}/${dir})
endforeach()
